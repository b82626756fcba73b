// SPDX-License-Identifier: Apache-2.0
// Matching by set and number, or by id when a property carries no name header; then the
// typed views of the first value.
#include "model/NamedProperties.h"

#include <algorithm>

#include "model/PropertyTags.h"

namespace qb {

bool PropertySet::matches(const Bytes& guid) const {
    const auto span = guid.span();
    return span.size() == bytes_.size() && std::equal(span.begin(), span.end(), bytes_.begin());
}

namespace {

bool typeMatches(const MAPIProp& prop, uint32_t type) {
    return prop.type() == type || (type == PT_STRING8 && prop.type() == PT_UNICODE);
}

bool nameMatches(const MAPIProp& prop, const NamedProperty& p) {
    const auto& name = prop.propName();
    // A property whose set is unknown (a TNEF name header cut short) is taken by its number.
    if (!name || !name->GUID()) return prop.name() == p.lid && (!name || !name->name());
    return !name->name() && name->propID() == p.lid && p.set.matches(*name->GUID());
}

}  // namespace

std::shared_ptr<MAPIProp> findNamedProperty(const MAPIPropList& props, const NamedProperty& p) {
    for (const auto& prop : props)
        if (typeMatches(*prop, p.type) && nameMatches(*prop, p)) return prop;
    return nullptr;
}

MAPIData valueForNamedProperty(const MAPIPropList* props, const NamedProperty& p) {
    if (!props) return {};
    auto prop = findNamedProperty(*props, p);
    auto value = prop ? prop->value() : nullptr;
    return value ? value->value() : MAPIData{};
}

namespace {

template <class T>
std::optional<T> typedValue(const MAPIPropList* props, const NamedProperty& p) {
    const MAPIData v = valueForNamedProperty(props, p);
    if (auto typed = valueAs<T>(v)) return *typed;
    return std::nullopt;
}

}  // namespace

std::optional<std::string> stringForNamedProperty(const MAPIPropList* props,
                                                  const NamedProperty& p) {
    return typedValue<std::string>(props, p);
}

std::optional<Bytes> bytesForNamedProperty(const MAPIPropList* props, const NamedProperty& p) {
    return typedValue<Bytes>(props, p);
}

std::optional<uint32_t> uint32ForNamedProperty(const MAPIPropList* props, const NamedProperty& p) {
    if (auto n = typedValue<uint32_t>(props, p)) return n;
    return typedValue<uint16_t>(props, p);
}

std::optional<bool> boolForNamedProperty(const MAPIPropList* props, const NamedProperty& p) {
    return typedValue<bool>(props, p);
}

std::optional<Date> dateForNamedProperty(const MAPIPropList* props, const NamedProperty& p) {
    return typedValue<Date>(props, p);
}

}  // namespace qb
