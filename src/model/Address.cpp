// SPDX-License-Identifier: Apache-2.0
// Parsing written addresses (a header mailbox first, the loose split otherwise) and the
// locked accessors that let readers fill in an SMTP address after construction.
#include "model/Address.h"

#include <fmt/format.h>

#include "mailkit/EmailAddressParsing.h"
#include "mailkit/MKEmailAddress.h"

namespace qb {

namespace {

bool nonEmpty(const Address::Text& t) {
    return t && !t->empty();
}

bool isSMTPType(std::string_view type) {
    return type.size() == 4 && (type[0] | 0x20) == 's' && (type[1] | 0x20) == 'm' &&
           (type[2] | 0x20) == 't' && (type[3] | 0x20) == 'p';
}

}  // namespace

Address::Address(Text displayName, Text address, Text type, uint32_t trpId)
    : displayName_(std::move(displayName)),
      address_(std::move(address)),
      type_(std::move(type)),
      trpId_(static_cast<uint16_t>(trpId)) {
    if (nonEmpty(displayName_) && nonEmpty(address_))
        email_ = fmt::format("{} <{}>", *displayName_, *address_);
    else if (nonEmpty(address_))
        email_ = address_;
    else if (nonEmpty(displayName_))
        email_ = displayName_;
    if (nonEmpty(address_) && type_ && isSMTPType(*type_)) smtpAddress_ = address_;
}

std::shared_ptr<Address> Address::fromString(const std::string& text) {
    if (text.find('@') != std::string::npos) {
        auto mailbox = MKEmailAddress::fromCommentedAddress(text);
        if (mailbox && mailbox->isValid()) {
            Text name;
            if (mailbox->addressComment()) name = mailbox->displayName();  // decoded
            return std::make_shared<Address>(name, mailbox->userAtDomain(), std::nullopt, 0);
        }
    }
    // Not a mailbox a header would hold ("Ann Lee ann@x.org"): the loose split.
    return std::make_shared<Address>(emailFullName(text), emailAddress(text), std::nullopt, 0);
}

std::vector<std::shared_ptr<Address>> Address::addressesFormAttendeesString(
    const std::string& text) {
    std::vector<std::shared_ptr<Address>> result;
    if (text.empty()) return result;
    size_t start = 0;
    for (;;) {
        const size_t sep = text.find("; ", start);
        result.push_back(fromString(text.substr(start, sep - start)));
        if (sep == std::string::npos) break;
        start = sep + 2;
    }
    return result;
}

// Fields are read and set under the lock, so that an address shared between threads
// (exporters of one message on several threads) never tears.
template <class T>
T Address::locked(const T& field) const {
    std::lock_guard lock(mutex_);
    return field;
}

template <class T>
void Address::setLocked(T& field, T value) {
    std::lock_guard lock(mutex_);
    field = std::move(value);
}

Address::Text Address::displayName() const {
    return locked(displayName_);
}
Address::Text Address::address() const {
    return locked(address_);
}
Address::Text Address::type() const {
    return locked(type_);
}
Address::Text Address::email() const {
    return locked(email_);
}
uint16_t Address::trpId() const {
    return locked(trpId_);
}
Address::Text Address::smtpAddress() const {
    return locked(smtpAddress_);
}

void Address::setDisplayName(Text v) {
    setLocked(displayName_, std::move(v));
}
void Address::setAddress(Text v) {
    setLocked(address_, std::move(v));
}
void Address::setType(Text v) {
    setLocked(type_, std::move(v));
}
void Address::setEmail(Text v) {
    setLocked(email_, std::move(v));
}
void Address::setTrpId(uint32_t v) {
    setLocked(trpId_, static_cast<uint16_t>(v));
}
void Address::setSmtpAddress(Text v) {
    setLocked(smtpAddress_, std::move(v));
}

std::string Address::description() const {
    std::lock_guard lock(mutex_);
    return fmt::format("{} <{}>", displayName_.value_or("(null)"), address_.value_or("(null)"));
}

bool looksLikeInternetAddress(std::string_view address) {
    const size_t at = address.rfind('@');
    return at != std::string_view::npos && at > 0 && at + 1 < address.size() &&
           address.find_first_of(" \t/<>\"") == std::string_view::npos;
}

Address::Text internetAddress(const Address& address) {
    auto own = address.address();
    if (own && looksLikeInternetAddress(*own)) return own;
    if (auto smtp = address.smtpAddress(); nonEmpty(smtp)) return smtp;
    return own;
}

}  // namespace qb
