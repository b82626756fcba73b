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
    if (!name) return prop.name() == p.lid;
    return !name->name() && name->propID() == p.lid && name->GUID() && p.set.matches(*name->GUID());
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

std::optional<std::string> stringForNamedProperty(const MAPIPropList* props,
                                                  const NamedProperty& p) {
    // The value is kept in a local: valueAs points into it.
    const MAPIData v = valueForNamedProperty(props, p);
    if (auto s = valueAs<std::string>(v)) return *s;
    return std::nullopt;
}

std::optional<Bytes> bytesForNamedProperty(const MAPIPropList* props, const NamedProperty& p) {
    const MAPIData v = valueForNamedProperty(props, p);
    if (auto b = valueAs<Bytes>(v)) return *b;
    return std::nullopt;
}

std::optional<uint32_t> uint32ForNamedProperty(const MAPIPropList* props, const NamedProperty& p) {
    const auto v = valueForNamedProperty(props, p);
    if (auto n = valueAs<uint32_t>(v)) return *n;
    if (auto s = valueAs<uint16_t>(v)) return *s;
    return std::nullopt;
}

std::optional<bool> boolForNamedProperty(const MAPIPropList* props, const NamedProperty& p) {
    const MAPIData v = valueForNamedProperty(props, p);
    if (auto b = valueAs<bool>(v)) return *b;
    return std::nullopt;
}

std::optional<Date> dateForNamedProperty(const MAPIPropList* props, const NamedProperty& p) {
    const MAPIData v = valueForNamedProperty(props, p);
    if (auto d = valueAs<Date>(v)) return *d;
    return std::nullopt;
}

}  // namespace qb
