// SPDX-License-Identifier: Apache-2.0
// What a contact item's card says, gathered from the item's properties; VCFWriter turns it
// into vCard text of either version.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "model/OutlookMessage.h"
#include "platform/Bytes.h"

namespace qb {

// Which line a telephone number is written on, in the order the card lists them.
enum class PhoneKind { Home, HomeFax, Work, WorkFax, Cell, Car, Preferred, Other, Pager };

// Every field holds only what the item has: absent and empty values are both left out.
struct ContactCard {
    struct Phone {
        PhoneKind kind;
        std::string number;
    };
    struct Email {
        int slot;  // 1 to 3: which of the item's three addresses
        std::string address;
        std::optional<std::string> displayName;
    };
    struct WebPage {
        bool business;
        std::string url;
    };
    struct Photo {
        Bytes data;
        std::string type;      // "JPEG", "PNG" or "GIF"
        std::string mimeType;  // "image/jpeg", ...
    };

    std::optional<std::string> uid;
    // Surname, given name, middle name, prefix, generation; "" where missing.
    std::array<std::string, 5> name;
    std::optional<std::string> fullName, organization, title;
    std::vector<Phone> phones;
    std::vector<Email> emails;
    // PO box, street, locality, region, postal code, country; "" where missing.
    std::array<std::string, 6> address;
    std::optional<std::string> note;
    std::optional<std::string> birthday;  // YYYYMMDD
    std::vector<WebPage> webPages;
    std::optional<Photo> photo;
};

// The card of a contact item (any message: what it lacks is left out).
ContactCard contactCardOf(const OutlookMessage& message);

// One member of a distribution list that has an SMTP address.
struct DistListMember {
    std::string displayName;  // "" when it could not be read
    std::string emailAddress;
};

// The members of a distribution list, from its one-off member entry ids, in their order.
// Entry ids that are not one-off ids, are damaged, or name another address type are skipped.
std::vector<DistListMember> distributionListMembersOf(const OutlookMessage& message);

// The birthday as YYYYMMDD. The item keeps the local midnight of the day in UTC, so the
// nearest day is meant; Outlook's "no date" (the year 4501) and years it cannot write give
// nothing.
std::optional<std::string> birthdayText(Date stored);

}  // namespace qb
