// SPDX-License-Identifier: Apache-2.0
// The message fields of a TNEF stream: sender, recipients, subject, date, class and
// correlator, and their replacement by the enclosing MIME message's headers.
#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "model/Recipients.h"
#include "tnef/TNEFArray.h"
#include "tnef/TNEFMessage.h"

namespace qb {

namespace {

constexpr uint32_t PR_SENT_REPRESENTING_SIMPLE_DISPLAY_NAME = 0x4031001E;
constexpr uint32_t PR_PRIMARY_SEND_ACCOUNT = 0x0E28001E;

bool nonEmpty(const std::optional<std::string>& s) {
    return s && !s->empty();
}

std::optional<std::string> stringValue(const TNEFAttrValue& v) {
    if (auto s = std::get_if<std::string>(&v)) return *s;
    return std::nullopt;
}

std::optional<std::string> stringEntry(const Dictionary& d, const char* key) {
    auto it = d.find(key);
    if (it == d.end() || !it->is_string()) return std::nullopt;
    return it->get<std::string>();
}

std::shared_ptr<Address> addressFromEntry(const Dictionary& d) {
    if (!d.is_object()) return std::make_shared<Address>(std::nullopt, std::nullopt, std::nullopt);
    return std::make_shared<Address>(stringEntry(d, "displayName"), stringEntry(d, "address"),
                                     std::nullopt);
}

AddressList addressListEntry(const Dictionary& headers, const char* key) {
    AddressList list;
    auto it = headers.find(key);
    if (it == headers.end() || !it->is_array()) return list;
    for (const auto& entry : *it)
        list.push_back(addressFromEntry(entry));
    return list;
}

}  // namespace

void TNEFMessage::parseSender() {
    findSender();
    if (sender_)
        fillSmtpAddress(*sender_, mapiprops(),
                        {PR_SENDER_SMTP_ADDRESS, PR_SENT_REPRESENTING_SMTP_ADDRESS},
                        PR_SENDER_ENTRYID);
}

void TNEFMessage::findSender() {
    const MAPIPropList* props = mapiprops();
    auto name = stringForProperty(props, PR_SENDER_NAME);
    if (!nonEmpty(name)) name = stringForProperty(props, PR_SENT_REPRESENTING_SIMPLE_DISPLAY_NAME);
    auto type = stringForProperty(props, PR_SENDER_ADDRTYPE);
    auto address = stringForProperty(props, PR_SENDER_EMAIL_ADDRESS);
    if (nonEmpty(address)) {
        sender_ = std::make_shared<Address>(name, address, type);
        return;
    }
    if (auto attr = findTNEFAttr(attributes_, attFrom, atpTriples)) {
        if (auto a = std::get_if<std::shared_ptr<Address>>(&attr->value())) {
            sender_ = *a;
            return;
        }
    }
    if (auto account = stringForProperty(props, PR_PRIMARY_SEND_ACCOUNT)) {
        // "<account id>\x01<address>[\x01…]"
        const size_t sep = account->find('\x01');
        if (sep != std::string::npos) {
            const size_t next = account->find('\x01', sep + 1);
            sender_ = std::make_shared<Address>(name, account->substr(sep + 1, next - sep - 1),
                                                std::string("SMTP"));
        }
    }
}

void TNEFMessage::parseRecipients() {
    auto table = valueForTNEFName(attributes_, attRecipTable, atpByte);
    if (std::holds_alternative<std::monostate>(table))
        table = valueForTNEFName(attributes_, 0x0006, atpTriples);
    if (auto rows = std::get_if<RecipientRows>(&table)) {
        for (const auto& row : *rows)
            addRecipient(row, to_, cc_, bcc_);
    }
    if (to_.empty() && cc_.empty() && bcc_.empty()) {
        if (auto attendees = stringForProperty(mapiprops(), PR_ATTENDEES_STRING8))
            to_ = Address::addressesFormAttendeesString(*attendees);
    }
}

void TNEFMessage::parseMessageHeaders() {
    parseSender();
    parseRecipients();
    if (sender_) fillSmtpAddressFromRecipients(*sender_, {&to_, &cc_, &bcc_});
    const MAPIPropList* props = mapiprops();
    for (auto candidate : {stringForProperty(props, PR_SUBJECT),
                           stringValue(valueForTNEFName(attributes_, attSubject, atpString)),
                           stringForProperty(props, PR_CONVERSATION_TOPIC)}) {
        if (nonEmpty(candidate)) {
            subject_ = std::move(candidate);
            break;
        }
    }
    date_ = dateForProperty(props, PR_CLIENT_SUBMIT_TIME);
    if (!date_) {
        auto sent = valueForTNEFName(attributes_, attDateSent, atpDate);
        if (auto d = std::get_if<Date>(&sent)) date_ = *d;
    }
}

std::optional<std::string> TNEFMessage::messageClass() const {
    return messageClass_.get([&] {
        auto cls = stringValue(valueForTNEFName(attributes_, attMessageClass, atpWord));
        return cls ? cls : stringForProperty(mapiprops(), PR_MESSAGE_CLASS);
    });
}

std::optional<std::string> TNEFMessage::tnefCorrelator() const {
    return tnefCorrelator_.get([&]() -> std::optional<std::string> {
        if (auto b = bytesForProperty(mapiprops(), PR_TNEF_CORRELATION_KEY))
            return b->withoutTrailingNULs().str();
        return std::nullopt;
    });
}

bool TNEFMessage::isTnefCorrelatorMatchingMimeHeader() const {
    if (!mimeMessageHeaders_ || !mimeMessageHeaders_->is_object()) return false;
    auto correlator = tnefCorrelator();
    if (!nonEmpty(correlator)) return false;
    auto header = stringEntry(*mimeMessageHeaders_, "X-MS-TNEF-Correlator");
    if (!header) header = stringEntry(*mimeMessageHeaders_, "messageID");
    return header && *header == *correlator;
}

void TNEFMessage::parseMimeMessageHeaders() {
    if (!isTnefCorrelatorMatchingMimeHeader()) return;
    const Dictionary& h = *mimeMessageHeaders_;
    if (auto it = h.find("sender"); it != h.end()) sender_ = addressFromEntry(*it);
    to_ = addressListEntry(h, "to");
    cc_ = addressListEntry(h, "cc");
    bcc_ = addressListEntry(h, "bcc");
    if (auto s = stringEntry(h, "subject")) subject_ = s;
    if (auto s = stringEntry(h, "date"))
        if (auto d = parseRFC3339(*s)) date_ = d;
    if (auto s = stringEntry(h, "mimeBodyContent")) setMimeBodyContent(std::move(s));
    if (auto s = stringEntry(h, "mimeHtmlBodyContent")) setMimeHtmlBodyContent(std::move(s));
}

}  // namespace qb
