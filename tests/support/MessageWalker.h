// SPDX-License-Identifier: Apache-2.0
#pragma once

// Asks a message for everything it can give, nested messages included, so that every lazy
// decoder runs: the fuzz targets and the robustness tests walk what the readers make of
// damaged input with it.
#include <set>

#include "OXMSG/cfb/CFBEntry.h"
#include "model/MAPIArray.h"
#include "model/OutlookMessage.h"
#include "tnef/TNEFAttachment.h"
#include "tnef/TNEFAttr.h"

namespace qb::test {

// Nested messages below this depth are not walked.
inline constexpr int kWalkDepth = 4;

inline void touchProps(const MAPIPropList* props, int depth);

inline void touchMessage(const OutlookMessage& m, int depth = 0) {
    if (depth > kWalkDepth) return;
    (void)m.subject();
    (void)m.messageClass();
    (void)m.tnefCorrelator();
    if (auto s = m.sender()) (void)s->email();
    for (const auto& a : m.attributes()) {
        (void)a->description();
        if (auto props = std::get_if<MAPIPropList>(&a->value())) touchProps(props, depth);
        if (auto rows = std::get_if<RecipientRows>(&a->value()))
            for (const auto& row : *rows)
                touchProps(&row, depth);
    }
    touchProps(m.mapiprops(), depth);
    for (const auto& att : m.attachments()) {
        (void)att->filename();
        (void)att->mimeType();
        (void)att->rawData();
        touchProps(att->mapiprops(), depth);
        if (auto nested = att->nestedMessage()) touchMessage(*nested, depth + 1);
    }
}

inline void touchProps(const MAPIPropList* props, int depth) {
    if (!props) return;
    for (const auto& p : *props) {
        (void)p->description();
        for (const auto& v : p->values())
            (void)v->value();
        if (auto v = p->value()) {
            const MAPIData& data = v->value();
            if (auto nested = std::get_if<std::shared_ptr<OutlookMessage>>(&data);
                nested && *nested)
                touchMessage(**nested, depth + 1);
        }
    }
}

// Every entry of a compound file and every stream's bytes; an entry that damaged links lead
// back to is walked once.
inline void touchStorage(const CFBEntry& e, std::set<const POLE::DirEntry*>& seen) {
    if (!seen.insert(e.dirEntry()).second) return;
    (void)e.data();
    for (const auto& c : e.entries())
        touchStorage(*c, seen);
}

inline void touchStorage(const CFBEntry& root) {
    std::set<const POLE::DirEntry*> seen;
    touchStorage(root, seen);
}

}  // namespace qb::test
