// SPDX-License-Identifier: Apache-2.0
#include "exporters/VCFWriter.h"

#include <fmt/format.h>

#include "exporters/Ivex.h"
#include "mailkit/Base64.h"

namespace qb {

namespace {

// Base64 in a 2.1 card: lines of 76 characters, each indented, the value ended by an empty
// line.
constexpr size_t kBase64LineLength = 76;
constexpr size_t kFoldLimit = 75;

struct PhoneLine {
    const char* v21;  // the whole 2.1 prefix
    const char* v40;  // the 4.0 parameters, "" for none
};

PhoneLine phoneLine(PhoneKind kind) {
    switch (kind) {
        case PhoneKind::Home:
            return {"TEL;TYPE=HOME:", ";TYPE=home"};
        case PhoneKind::HomeFax:
            return {"TEL;TYPE=HOME,FAX:", ";TYPE=home,fax"};
        case PhoneKind::Work:
            return {"TEL;TYPE=WORK:", ";TYPE=work"};
        case PhoneKind::WorkFax:
            return {"TEL;TYPE=WORK,FAX:", ";TYPE=work,fax"};
        case PhoneKind::Cell:
            return {"TEL;TYPE=CELL:", ";TYPE=cell"};
        case PhoneKind::Car:
            return {"TEL;TYPE=CAR:", ";TYPE=x-car"};
        case PhoneKind::Preferred:
            // The callback number, marked preferred on purpose.
            return {"TEL;TYPE=PREF:", ";PREF=1"};
        case PhoneKind::Other:
            return {"TEL:", ""};
        case PhoneKind::Pager:
            return {"TEL;TYPE=PAGER:", ";TYPE=pager"};
    }
    return {"TEL:", ""};
}

// A URI keeps its characters; only what would end the line goes.
std::string singleLine(std::string_view value) {
    std::string out;
    for (char c : value)
        if (c != '\r' && c != '\n') out += c;
    return out;
}

// RFC 6350 has no bare CR: any line break becomes "\n".
std::string escape40(std::string_view value) {
    std::string breaks;
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\r') {
            breaks += '\n';
            if (i + 1 < value.size() && value[i + 1] == '\n') ++i;
        } else {
            breaks += value[i];
        }
    }
    return escapeContentValue(breaks);
}

template <size_t N>
std::string components(const std::array<std::string, N>& parts,
                       std::string (*escape)(std::string_view)) {
    std::string out;
    for (size_t i = 0; i < N; ++i) {
        if (i) out += ';';
        out += escape(parts[i]);
    }
    return out;
}

std::string escape21(std::string_view value) {
    return escapeContentValue(value);
}

// The 2.1 card: the lines of every card Quillbox writes, in their order, then what address
// books also read (birthday, web pages, e-mail display names, photo), each only when present.
std::string card21(const ContactCard& card) {
    std::string out = "BEGIN:VCARD\nVERSION:2.1\n";
    auto line = [&out](std::string_view prefix, const std::optional<std::string>& value) {
        if (value) out += fmt::format("{}{}\n", prefix, escapeContentValue(*value));
    };
    if (card.uid) out += fmt::format("UID:{}\n", *card.uid);
    out += fmt::format("N;CHARSET=UTF-8:{}\n", components(card.name, escape21));
    line("FN;CHARSET=UTF-8:", card.fullName);
    line("ORG;CHARSET=UTF-8:", card.organization);
    line("TITLE;CHARSET=UTF-8:", card.title);
    for (const auto& phone : card.phones)
        line(phoneLine(phone.kind).v21, phone.number);
    for (const auto& email : card.emails)
        line("EMAIL:", email.address);
    out += fmt::format("ADR;CHARSET=UTF-8:{}\n", components(card.address, escape21));
    line("NOTE;CHARSET=UTF-8:", card.note);

    if (card.birthday) out += fmt::format("BDAY:{}\n", *card.birthday);
    for (const auto& page : card.webPages)
        out +=
            fmt::format("URL;TYPE={}:{}\n", page.business ? "WORK" : "HOME", singleLine(page.url));
    for (const auto& email : card.emails)
        if (email.displayName)
            line(fmt::format("X-EMAIL{}-DISPLAYNAME;CHARSET=UTF-8:", email.slot),
                 email.displayName);
    if (card.photo) {
        out += fmt::format("PHOTO;ENCODING=BASE64;TYPE={}:\n", card.photo->type);
        const std::string base64 = base64EncodedString(card.photo->data.view());
        for (size_t i = 0; i < base64.size(); i += kBase64LineLength)
            out += fmt::format(" {}\n", std::string_view(base64).substr(i, kBase64LineLength));
        out += '\n';
    }
    out += "END:VCARD\n";
    return out;
}

// The name a 4.0 card must have: the display name, else the name's parts, the company or the
// first address.
std::string formattedName(const ContactCard& card) {
    if (card.fullName) return *card.fullName;
    std::string name;
    for (const std::string* part :
         {&card.name[3], &card.name[1], &card.name[2], &card.name[0], &card.name[4]}) {
        if (part->empty()) continue;
        if (!name.empty()) name += ' ';
        name += *part;
    }
    if (!name.empty()) return name;
    if (card.organization) return *card.organization;
    if (!card.emails.empty()) return card.emails.front().address;
    return "";
}

std::string card40(const ContactCard& card) {
    std::string out;
    auto add = [&out](std::string_view text) { out += foldedContentLine(text); };
    auto line = [&add](std::string_view prefix, const std::optional<std::string>& value) {
        if (value) add(fmt::format("{}{}", prefix, escape40(*value)));
    };
    add("BEGIN:VCARD");
    add("VERSION:4.0");
    line("UID;VALUE=text:", card.uid);
    add("N:" + components(card.name, escape40));
    add("FN:" + escape40(formattedName(card)));
    line("ORG:", card.organization);
    line("TITLE:", card.title);
    for (const auto& phone : card.phones) {
        const char* params = phoneLine(phone.kind).v40;
        if (auto uri = telURI(phone.number))
            add(fmt::format("TEL;VALUE=uri{}:{}", params, *uri));
        else
            add(fmt::format("TEL{}:{}", params, escape40(phone.number)));
    }
    for (const auto& email : card.emails)
        line("EMAIL:", email.address);
    // The extended-address part that 2.1 cards leave out has its place here.
    const auto& a = card.address;
    std::array<std::string, 7> adr{a[0], "", a[1], a[2], a[3], a[4], a[5]};
    if (adr != std::array<std::string, 7>{}) add("ADR:" + components(adr, escape40));
    line("NOTE:", card.note);
    if (card.birthday) add("BDAY:" + *card.birthday);
    for (const auto& page : card.webPages)
        add(fmt::format("URL;TYPE={}:{}", page.business ? "work" : "home", singleLine(page.url)));
    for (const auto& email : card.emails)
        line(fmt::format("X-EMAIL{}-DISPLAYNAME:", email.slot), email.displayName);
    if (card.photo)
        add(fmt::format("PHOTO:data:{};base64,{}", card.photo->mimeType,
                        base64EncodedString(card.photo->data.view())));
    add("END:VCARD");
    return out;
}

bool isTelSeparator(char c) {
    return c == '-' || c == '.' || c == '(' || c == ')' || c == ' ';
}

}  // namespace

std::optional<std::string> telURI(std::string_view number) {
    while (!number.empty() && number.front() == ' ')
        number.remove_prefix(1);
    while (!number.empty() && number.back() == ' ')
        number.remove_suffix(1);
    if (number.size() < 2 || number.front() != '+') return std::nullopt;
    std::string uri = "tel:+";
    bool digit = false;
    for (char c : number.substr(1)) {
        if (c >= '0' && c <= '9') {
            digit = true;
            uri += c;
        } else if (isTelSeparator(c)) {
            uri += c == ' ' ? '-' : c;
        } else {
            return std::nullopt;
        }
    }
    if (!digit) return std::nullopt;
    return uri;
}

std::string foldedContentLine(std::string_view line) {
    std::string out;
    size_t room = kFoldLimit;
    while (line.size() > room) {
        size_t cut = room;
        // Back up to the start of a UTF-8 sequence.
        while (cut > 0 && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80)
            --cut;
        if (cut == 0) cut = room;
        out.append(line.substr(0, cut));
        out += "\r\n ";
        line.remove_prefix(cut);
        room = kFoldLimit - 1;
    }
    out.append(line);
    out += "\r\n";
    return out;
}

std::string contactCardText(const ContactCard& card, VCardVersion version) {
    return version == VCardVersion::V21 ? card21(card) : card40(card);
}

std::string memberCardsText(const std::vector<DistListMember>& members, VCardVersion version) {
    std::string out;
    for (const auto& m : members) {
        if (version == VCardVersion::V21) {
            out +=
                fmt::format("BEGIN:VCARD\nVERSION:2.1\nFN;CHARSET=UTF-8:{}\nEMAIL:{}\nEND:VCARD\n",
                            escapeContentValue(m.displayName), escapeContentValue(m.emailAddress));
        } else {
            for (const std::string& line :
                 {std::string("BEGIN:VCARD"), std::string("VERSION:4.0"),
                  "FN:" + escape40(m.displayName), "EMAIL:" + escape40(m.emailAddress),
                  std::string("END:VCARD")})
                out += foldedContentLine(line);
        }
    }
    return out;
}

}  // namespace qb
