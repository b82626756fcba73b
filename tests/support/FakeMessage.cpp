// SPDX-License-Identifier: Apache-2.0
#include "support/FakeMessage.h"

namespace qb::test {

std::shared_ptr<TNEFAttachment> FakeMessage::addAttachment(std::optional<std::string> name,
                                                           std::optional<std::string> content,
                                                           std::shared_ptr<OutlookMessage> nested) {
    auto a = std::make_shared<TNEFAttachment>(MAPIPropList{}, nested, shared_from_this());
    a->setFilename(std::move(name));
    a->setRawData(content ? std::optional<Bytes>(Bytes::fromString(*content)) : std::nullopt);
    a->setNestedMessage(std::move(nested));
    attachments_.push_back(a);
    return a;
}

void FakeMessage::borrowPropertiesOf(std::shared_ptr<OutlookMessage> source) {
    source_ = std::move(source);
}

const TNEFAttrList& FakeMessage::attributes() const {
    static const TNEFAttrList kNone;
    return source_ ? source_->attributes() : kNone;
}

const MAPIPropList* FakeMessage::mapiprops() const {
    return source_ ? source_->mapiprops() : nullptr;
}

std::shared_ptr<Address> address(const std::string& name, const std::string& addr,
                                 const std::string& type) {
    auto opt = [](const std::string& s) { return s.empty() ? std::nullopt : Address::Text(s); };
    return std::make_shared<Address>(opt(name), opt(addr), opt(type));
}

}  // namespace qb::test
