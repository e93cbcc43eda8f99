// Context attributes: lookup by type over the record's attribute array, and the context copy
// that every Init-like provider call starts with.
#pragma once

#include <vorelcrypto/csp.h>

namespace vc::csp {

// The first attribute of `type`, or null.
inline const CspAttribute *findAttribute(const CspContextRecord *record, uint32_t type) {
    if (record->attributes == nullptr) return nullptr;
    for (uint32_t i = 0; i < record->attributeCount; ++i)
        if (record->attributes[i].type == type) return &record->attributes[i];
    return nullptr;
}

// A uint32 attribute's value; false when the attribute is missing.
inline bool findUint32(const CspContextRecord *record, uint32_t type, uint32_t *value) {
    const CspAttribute *a = findAttribute(record, type);
    if (a == nullptr) return false;
    *value = a->value.uint32;
    return true;
}

// A blob attribute's blob; false when the attribute is missing (the blob itself may be null).
inline bool findBlob(const CspContextRecord *record, uint32_t type, const DataBlob **blob) {
    const CspAttribute *a = findAttribute(record, type);
    if (a == nullptr) return false;
    *blob = a->value.data;
    return true;
}

// Later calls work on the handle's record, so a caller's context is copied there first (class,
// algorithm, attribute count and pointer), as the digest family does.
inline void adoptContext(CspContextRecord *record, const CspContextRecord *context) {
    if (context == nullptr) return;
    record->contextClass = context->contextClass;
    record->algorithm = context->algorithm;
    record->attributeCount = context->attributeCount;
    record->attributes = context->attributes;
}

}  // namespace vc::csp
