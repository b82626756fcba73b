// SPDX-License-Identifier: Apache-2.0
// A mailbox as a value, parsed from header text by the scanner: how the model's Address and
// the .msg reader's transport headers turn address text into names and addresses.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qb {

// One RFC 2822 mailbox: an optional display name (the address comment, stored decoded) and
// an address of a user name and a domain. A value: copyable and comparable.
class MKEmailAddress {
  public:
    using Text = std::optional<std::string>;

    MKEmailAddress() = default;
    MKEmailAddress(Text addressComment, Text userName, Text domain)
        : addressComment_(std::move(addressComment)),
          userName_(std::move(userName)),
          domain_(std::move(domain)) {}

    // One mailbox, "Name <user@domain>" or "user@domain (Name)"; the name is stored as
    // written. Nothing when the text holds no mailbox.
    static std::optional<MKEmailAddress> fromCommentedAddress(std::string_view text);
    // Every mailbox of a header value, display names decoded. A syntax error ends the list
    // with a log line; the mailboxes before it are kept.
    static std::vector<MKEmailAddress> emailAddressesFromHeaderValue(std::string_view value);
    // The mailboxes for a header, joined by "," (no space); nothing when none has a form.
    static std::optional<std::string> rfc2822RepresentationForAddresses(
        const std::vector<MKEmailAddress>& addresses);

    const Text& addressComment() const { return addressComment_; }
    const Text& userName() const { return userName_; }
    const Text& domain() const { return domain_; }
    bool isValid() const { return userName_ && domain_; }

    // "\"Name\" <user@domain>", "\"Name\"", "user@domain"; a name beyond ASCII becomes one
    // encoded word, kept inside the quotes.
    Text rfc2822Representation() const;
    Text commentedAddress() const;  // "Name <user@domain>"
    Text userAtDomain() const;      // "user@domain"
    // The address as RFC 5322 writes it: the local part quoted when it is no dot-atom
    // ("\"alec milton\"@x"), and alone when there is no domain.
    Text addrSpec() const;
    Text displayName() const;  // the decoded name, else user@domain
    std::string description() const;

    bool operator==(const MKEmailAddress&) const = default;

  private:
    Text addressComment_, userName_, domain_;
};

}  // namespace qb
