// SPDX-License-Identifier: Apache-2.0
// The MAPI type table and the answers derived from it.
#include "model/MAPITypes.h"

#include <array>

#include "model/PropertyTags.h"

namespace qb {

namespace {

constexpr std::array<MAPITypeInfo, 17> kTypes{{
    {PT_UNSPECIFIED, "PT_UNSPECIFIED", 0, false},
    {PT_NULL, "PT_NULL", 0, false},
    {PT_SHORT, "PT_SHORT", 4, false},
    {PT_LONG, "PT_LONG", 4, false},
    {PT_FLOAT, "PT_FLOAT", 4, false},
    {PT_DOUBLE, "PT_DOUBLE", 8, false},
    {PT_CURRENCY, "PT_CURRENCY", 8, false},
    {PT_APPTIME, "PT_APPTIME", 8, false},
    {PT_ERROR, "PT_ERROR", 4, false},
    {PT_BOOLEAN, "PT_BOOLEAN", 4, false},
    {PT_OBJECT, "PT_OBJECT", 0, true},
    {PT_LONGLONG, "PT_LONGLONG", 8, false},
    {PT_STRING8, "PT_STRING8", 0, true},
    {PT_UNICODE, "PT_UNICODE", 0, true},
    {PT_SYSTIME, "PT_SYSTIME", 8, false},
    {PT_CLSID, "PT_CLSID", 16, false},
    {PT_BINARY, "PT_BINARY", 0, true},
}};

}  // namespace

const MAPITypeInfo* mapiTypeInfo(uint32_t baseType) {
    for (const auto& info : kTypes)
        if (info.type == baseType) return &info;
    return nullptr;
}

bool hasValueCount(uint32_t type) {
    return (type & MV_FLAG) || isVariableMAPIType(type & ~MV_FLAG);
}

const char* propTypeName(uint32_t type) {
    const MAPITypeInfo* info = mapiTypeInfo(type);
    return info ? info->name.data() : "unknow";
}

}  // namespace qb
