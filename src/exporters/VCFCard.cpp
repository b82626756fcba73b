// SPDX-License-Identifier: Apache-2.0
#include "exporters/VCFCard.h"

#include <chrono>

#include <fmt/format.h>

#include "formats/QBFileFormat.h"
#include "model/MAPIArray.h"
#include "model/NamedProperties.h"
#include "model/OneOffEntryID.h"
#include "model/PropertyTags.h"
#include "tnef/TNEFArray.h"
#include "tnef/TNEFAttachment.h"
#include "tnef/TNEFAttr.h"

namespace qb {

namespace {

// Name parts, in the order the N line lists them.
constexpr uint32_t kNameTags[] = {
    0x3A11001E,  // surname
    0x3A06001E,  // given name
    0x3A44001E,  // middle name
    0x3A45001E,  // display name prefix
    0x3A05001E,  // generation
};
// Postal address parts, in the order the ADR line lists them.
constexpr uint32_t kAddressTags[] = {
    0x3A2B001E,  // PO box
    0x3A29001E,  // street
    0x3A27001E,  // locality
    0x3A28001E,  // state or province
    0x3A2A001E,  // postal code
    0x3A26001E,  // country
};

struct PhoneSource {
    uint32_t tag;
    PhoneKind kind;
};
constexpr PhoneSource kPhones[] = {
    {0x3A09001E, PhoneKind::Home},       // home
    {0x3A2F001E, PhoneKind::Home},       // home 2
    {0x3A25001E, PhoneKind::HomeFax},    // home fax
    {0x3A08001E, PhoneKind::Work},       // business
    {0x3A1B001E, PhoneKind::Work},       // business 2
    {0x3A24001E, PhoneKind::WorkFax},    // business fax
    {0x3A1C001E, PhoneKind::Cell},       // mobile
    {0x3A1E001E, PhoneKind::Car},        // car
    {0x3A02001E, PhoneKind::Preferred},  // callback
    {0x3A1F001E, PhoneKind::Other},      // other
    {0x3A21001E, PhoneKind::Pager},      // pager
};

// The three e-mail addresses and their display names.
struct EmailSource {
    uint32_t address, displayName;
};
constexpr EmailSource kEmails[] = {{0x8083, 0x8080}, {0x8093, 0x8090}, {0x80A3, 0x80A0}};
// The one-off entry ids of a distribution list's members.
constexpr uint32_t kOneOffMembers = 0x8054;

constexpr uint32_t kFullName = 0x3001001E;
constexpr uint32_t kCompany = 0x3A16001E;
constexpr uint32_t kTitle = 0x3A17001E;
constexpr uint32_t kBirthday = 0x3A420040;
constexpr uint32_t kPersonalHomePage = 0x3A50001E;
constexpr uint32_t kBusinessHomePage = 0x3A51001E;
constexpr uint32_t kIsContactPhoto = 0x7FFF000B;
// The TNEF attribute of the message id (a string), the card's UID.
constexpr uint32_t kAttMessageID = 0x8009;

std::optional<std::string> nonEmpty(std::optional<std::string> s) {
    if (s && s->empty()) return std::nullopt;
    return s;
}

std::optional<std::string> stringValue(const MAPIPropList* props, uint32_t tag) {
    return nonEmpty(stringForProperty(props, tag));
}

std::optional<std::string> namedString(const MAPIPropList* props, uint32_t lid) {
    return nonEmpty(stringForNamedProperty(props, {PSETID_Address, lid, PT_STRING8}));
}

std::optional<std::string> attributeString(const TNEFAttrList& attrs, uint32_t id, uint32_t type) {
    const TNEFAttrValue value = valueForTNEFName(attrs, id, type);
    if (auto s = std::get_if<std::string>(&value)) return nonEmpty(*s);
    return std::nullopt;
}

// The picture the item shows for the person: the attachment flagged as the contact photo,
// when it is a kind of image a card can carry.
std::optional<ContactCard::Photo> contactPhoto(const OutlookMessage& message) {
    for (const auto& attachment : message.attachments()) {
        if (!attachment) continue;
        const MAPIData flag = valueForProperty(attachment->mapiprops(), kIsContactPhoto);
        const bool* isPhoto = valueAs<bool>(flag);
        if (!isPhoto || !*isPhoto) continue;
        auto data = attachment->rawData();
        if (!data || data->empty()) continue;
        const QBFileFormat* format = QBFileFormat::fileFormatOfData(*data);
        if (!format) continue;
        if (format->identifier == "public.jpeg")
            return ContactCard::Photo{*data, "JPEG", "image/jpeg"};
        if (format->identifier == "public.png")
            return ContactCard::Photo{*data, "PNG", "image/png"};
        if (format->identifier == "com.compuserve.gif")
            return ContactCard::Photo{*data, "GIF", "image/gif"};
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> birthdayText(Date stored) {
    using namespace std::chrono;
    // Local midnight east of UTC is stored on the day before, in the afternoon.
    const year_month_day day{floor<days>(stored + hours(11))};
    const int year = int(day.year());
    if (!day.ok() || year < 1 || year >= 4500) return std::nullopt;
    return fmt::format("{:04}{:02}{:02}", year, unsigned(day.month()), unsigned(day.day()));
}

ContactCard contactCardOf(const OutlookMessage& message) {
    const MAPIPropList* props = message.mapiprops();
    const TNEFAttrList& attrs = message.attributes();
    ContactCard card;
    card.uid = attributeString(attrs, kAttMessageID, atpString);
    for (size_t i = 0; i < card.name.size(); ++i)
        card.name[i] = stringValue(props, kNameTags[i]).value_or("");
    card.fullName = stringValue(props, kFullName);
    card.organization = stringValue(props, kCompany);
    card.title = stringValue(props, kTitle);
    for (const PhoneSource& p : kPhones)
        if (auto number = stringValue(props, p.tag)) card.phones.push_back({p.kind, *number});
    for (int slot = 1; const EmailSource& e : kEmails) {
        if (auto address = namedString(props, e.address))
            card.emails.push_back({slot, *address, namedString(props, e.displayName)});
        ++slot;
    }
    for (size_t i = 0; i < card.address.size(); ++i)
        card.address[i] = stringValue(props, kAddressTags[i]).value_or("");
    card.note = stringValue(props, PR_BODY);
    if (!card.note) card.note = attributeString(attrs, attBody, atpText);

    if (auto date = dateForProperty(props, kBirthday)) card.birthday = birthdayText(*date);
    if (auto url = stringValue(props, kBusinessHomePage)) card.webPages.push_back({true, *url});
    if (auto url = stringValue(props, kPersonalHomePage)) card.webPages.push_back({false, *url});
    card.photo = contactPhoto(message);
    return card;
}

std::vector<DistListMember> distributionListMembersOf(const OutlookMessage& message) {
    std::vector<DistListMember> members;
    const MAPIPropList* props = message.mapiprops();
    if (!props) return members;
    const NamedProperty oneOffMembers{PSETID_Address, kOneOffMembers, PT_BINARY};
    auto addMember = [&](const std::shared_ptr<MAPIValue>& value) {
        if (!value) return;
        const MAPIData data = value->value();
        const Bytes* entryID = valueAs<Bytes>(data);
        if (!entryID) return;
        auto member = readOneOffMember(*entryID, message.encoding());
        if (!member || member->addressType != "SMTP" || !member->emailAddress) return;
        members.push_back({member->displayName.value_or(""), *member->emailAddress});
    };
    // Every property of that name counts: a .msg reader may give each value of the list as
    // a property of its own, beside the table of their lengths (which is no entry id).
    for (const auto& prop : *props) {
        if (!prop || !findNamedProperty(MAPIPropList{prop}, oneOffMembers)) continue;
        if (prop->singleValue()) addMember(prop->singleValue());
        for (const auto& value : prop->values())
            addMember(value);
    }
    return members;
}

}  // namespace qb
