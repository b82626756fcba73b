// SPDX-License-Identifier: Apache-2.0
// Senders and recipients in the message model: both readers make them from properties or
// header text, and the exporters write them into headers, metadata and views.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Export.h"

namespace qb {

/// A sender or recipient. Every field may be absent; `email` is derived once, at
/// construction, and is not recomputed by the setters. `smtpAddress` is the person's
/// Internet address where the message gives one beside another kind of address (an Exchange
/// X.500 name); an address of type SMTP is its own.
class QB_API Address {
  public:
    using Text = std::optional<std::string>;

    Address(Text displayName, Text address, Text type, uint32_t trpId = 0);

    /// One written address: an RFC 2822 mailbox when it holds "@", else a loose name/address.
    static std::shared_ptr<Address> fromString(const std::string& text);
    /// Attendee list joined with "; ".
    static std::vector<std::shared_ptr<Address>> addressesFormAttendeesString(
        const std::string& text);

    Text displayName() const;
    Text address() const;
    Text type() const;
    Text email() const;
    uint16_t trpId() const;
    Text smtpAddress() const;

    void setDisplayName(Text v);
    void setAddress(Text v);
    void setType(Text v);
    void setEmail(Text v);
    void setTrpId(uint32_t v);
    void setSmtpAddress(Text v);

    /// "<name> <<address>>"
    std::string description() const;

  private:
    template <class T>
    T locked(const T& field) const;
    template <class T>
    void setLocked(T& field, T value);

    mutable std::mutex mutex_;
    Text displayName_, address_, type_, email_, smtpAddress_;
    uint16_t trpId_ = 0;
};

using AddressList = std::vector<std::shared_ptr<Address>>;

/// Whether `address` has the shape of an Internet address (local@domain), not an X.500 name.
QB_API bool looksLikeInternetAddress(std::string_view address);

/// The address to write or show for a person: the address itself when it is an Internet
/// address, else the SMTP address the message gives, else the address as it is.
QB_API Address::Text internetAddress(const Address& address);

}  // namespace qb
