# SPDX-License-Identifier: Apache-2.0
"""Reads every NAME.ics in a folder with Python's icalendar package and checks it against
NAME.json (what the item itself says): the file parses, every component is valid as
icalendar defines it, DTSTART/DTEND converted to UTC through the file's own VTIMEZONE are
the item's start and end, all-day items are dates on the right days, and the first
occurrences of a recurring item (RRULE with EXDATE and changed occurrences) are the ones
the item's own pattern gives. Prints one line per fault and 'N passed, N failed'."""
import datetime
import json
import pathlib
import sys

import icalendar
from dateutil import rrule

UTC = datetime.timezone.utc


def parse_utc(text):
    return datetime.datetime.strptime(text, "%Y-%m-%dT%H:%M:%SZ").replace(tzinfo=UTC)


def parse_local(text):
    return datetime.datetime.strptime(text, "%Y-%m-%dT%H:%M:%S")


def component_faults(comp):
    faults = ["%s: %s" % (comp.name, e) for e in comp.errors]
    for name in comp.required:
        if name not in comp:
            faults.append("%s lacks %s" % (comp.name, name))
    for name in comp.singletons:
        if isinstance(comp.get(name), list):
            faults.append("%s has %s more than once" % (comp.name, name))
    if comp.exclusive and all(n in comp for n in comp.exclusive):
        faults.append("%s has all of %s" % (comp.name, comp.exclusive))
    return faults


def zone_of(cal, prop):
    """The tzinfo made from the file's VTIMEZONE that the property names, or None."""
    tzid = prop.params.get("TZID") if hasattr(prop, "params") else None
    if not tzid:
        return None
    for vtz in cal.walk("VTIMEZONE"):
        if str(vtz["TZID"]) == tzid:
            return vtz.to_tz()
    raise ValueError("no VTIMEZONE for TZID %s" % tzid)


def naive(value):
    if isinstance(value, datetime.datetime):
        return value.replace(tzinfo=None)
    return datetime.datetime.combine(value, datetime.time())


def to_utc(value, tz):
    """A DTSTART-like value as a UTC instant, local times through `tz`."""
    if isinstance(value, datetime.datetime) and value.tzinfo is not None and tz is None:
        return value.astimezone(UTC)
    local = naive(value)
    if tz is None:
        return local.replace(tzinfo=UTC)
    return tz.localize(local).astimezone(UTC)


def check_times(cal, event, expect, faults):
    all_day = expect.get("allDay", False)
    for key, name in (("start", "DTSTART"), ("end", "DTEND")):
        if key not in expect:
            continue
        if name not in event:
            faults.append("no %s" % name)
            continue
        prop = event[name]
        value = prop.dt
        tz = zone_of(cal, prop)
        want = parse_utc(expect[key])
        if all_day:
            if isinstance(value, datetime.datetime):
                faults.append("%s of an all-day item is not a date" % name)
                continue
            if not cal.walk("VTIMEZONE"):
                # Without a zone the day is right when its midnight is within a zone's reach.
                got = naive(value).replace(tzinfo=UTC)
                if abs((got - want).total_seconds()) > 14 * 3600:
                    faults.append("%s %s is not the day of %s" % (name, value, want))
                continue
            tz = cal.walk("VTIMEZONE")[0].to_tz()
        elif not isinstance(value, datetime.datetime):
            faults.append("%s of a timed item is a date" % name)
            continue
        got = to_utc(value, tz)
        if got != want:
            faults.append("%s is %s in UTC, the item says %s" % (name, got, want))


def check_occurrences(cal, event, exceptions, expect, faults):
    want = [parse_local(t) for t in expect.get("occurrences", [])]
    if not want:
        if "RRULE" in event:
            faults.append("RRULE for an item without a pattern")
        return
    if "RRULE" not in event:
        faults.append("no RRULE for a recurring item")
        return
    start = event["DTSTART"]
    tz = zone_of(cal, start)
    recur = dict(event["RRULE"])
    if "UNTIL" in recur:
        until = recur["UNTIL"][0]
        if isinstance(until, datetime.datetime) and until.tzinfo is not None:
            until = until.astimezone(tz) if tz else until.astimezone(UTC)
            if tz:
                until = tz.normalize(until)
            until = until.replace(tzinfo=None)
        recur["UNTIL"] = [naive(until)]
    rule = rrule.rrulestr(icalendar.vRecur(recur).to_ical().decode(), dtstart=naive(start.dt))
    excluded = set()
    exdates = event.get("EXDATE", [])
    for ex in exdates if isinstance(exdates, list) else [exdates]:
        excluded.update(naive(d.dt) for d in ex.dts)
    moved = {naive(e["RECURRENCE-ID"].dt): naive(e["DTSTART"].dt) for e in exceptions}
    got = []
    for occurrence in rule:
        if len(got) >= len(want) + len(moved) + 5:
            break
        if occurrence in excluded:
            continue
        got.append(moved.get(occurrence, occurrence))
    got = sorted(got)[: len(want)]
    if got != want:
        faults.append("occurrences %s, the pattern gives %s" % (
            [g.isoformat() for g in got], [w.isoformat() for w in want]))


def check(ics_path):
    expect = json.loads(ics_path.with_suffix(".json").read_text())
    try:
        cal = icalendar.Calendar.from_ical(ics_path.read_bytes())
    except Exception as e:  # noqa: BLE001 - any failure to read is the fault
        return ["does not parse: %s" % e]
    faults = []
    for comp in cal.walk():
        faults.extend(component_faults(comp))
    items = [c for c in cal.walk() if c.name in ("VEVENT", "VTODO")]
    main = [c for c in items if "RECURRENCE-ID" not in c]
    if len(main) != 1:
        return faults + ["%d main events" % len(main)]
    try:
        check_times(cal, main[0], expect, faults)
        check_occurrences(cal, main[0], [c for c in items if "RECURRENCE-ID" in c], expect, faults)
    except Exception as e:  # noqa: BLE001
        faults.append("cannot check: %r" % e)
    return faults


def main():
    passed = failed = 0
    for path in sorted(pathlib.Path(sys.argv[1]).glob("*.ics")):
        faults = check(path)
        if faults:
            failed += 1
            for f in faults:
                print("%s: %s" % (path.name, f))
        else:
            passed += 1
    print("%d passed, %d failed" % (passed, failed))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
