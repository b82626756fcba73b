// SPDX-License-Identifier: Apache-2.0
// Linear searches over the list, then the typed views of the first value.
#include "model/MAPIArray.h"

#include "model/PropertyTags.h"

namespace qb {

std::shared_ptr<MAPIProp> findPropID(const MAPIPropList& props, uint32_t id, uint32_t type) {
    for (const auto& p : props) {
        if (p->name() != id) continue;
        if (p->type() == type || (type == PT_STRING8 && p->type() == PT_UNICODE)) return p;
    }
    return nullptr;
}

MAPIData valueForPropID(const MAPIPropList* props, uint32_t id, uint32_t type) {
    if (!props) return {};
    auto prop = findPropID(*props, id, type);
    if (!prop) return {};
    auto value = prop->value();
    if (!value) return {};
    return value->value();
}

MAPIData valueForProperty(const MAPIPropList* props, uint32_t tag) {
    return valueForPropID(props, propId(tag), propType(tag));
}

std::optional<std::string> stringForProperty(const MAPIPropList* props, uint32_t tag) {
    auto v = valueForProperty(props, tag);
    if (auto s = valueAs<std::string>(v)) return *s;
    return std::nullopt;
}

std::optional<Bytes> bytesForProperty(const MAPIPropList* props, uint32_t tag) {
    auto v = valueForProperty(props, tag);
    if (auto b = valueAs<Bytes>(v)) return *b;
    return std::nullopt;
}

std::optional<uint32_t> uint32ForProperty(const MAPIPropList* props, uint32_t tag) {
    auto v = valueForProperty(props, tag);
    if (auto n = valueAs<uint32_t>(v)) return *n;
    if (auto s = valueAs<uint16_t>(v)) return *s;
    return std::nullopt;
}

std::optional<Date> dateForProperty(const MAPIPropList* props, uint32_t tag) {
    auto v = valueForProperty(props, tag);
    if (auto d = valueAs<Date>(v)) return *d;
    return std::nullopt;
}

}  // namespace qb
