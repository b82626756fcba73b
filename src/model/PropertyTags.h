// SPDX-License-Identifier: Apache-2.0
// Property types and the tags the readers, exporters and command line look up, as numbers
// shared by every layer above the model.
#pragma once

#include <cstdint>

namespace qb {

/// Property types (low 16 bits of a tag).
enum PropType : uint32_t {
    PT_UNSPECIFIED = 0x0000,
    PT_NULL = 0x0001,
    PT_SHORT = 0x0002,
    PT_LONG = 0x0003,
    PT_FLOAT = 0x0004,
    PT_DOUBLE = 0x0005,
    PT_CURRENCY = 0x0006,
    PT_APPTIME = 0x0007,
    PT_ERROR = 0x000A,
    PT_BOOLEAN = 0x000B,
    PT_OBJECT = 0x000D,
    PT_LONGLONG = 0x0014,
    PT_STRING8 = 0x001E,
    PT_UNICODE = 0x001F,
    PT_SYSTIME = 0x0040,
    PT_CLSID = 0x0048,
    PT_BINARY = 0x0102,
};

inline constexpr uint32_t MV_FLAG = 0x1000;

constexpr uint32_t propTag(uint32_t id, uint32_t type) {
    return (id << 16) | (type & 0xFFFF);
}
constexpr uint32_t propId(uint32_t tag) {
    return tag >> 16;
}
constexpr uint32_t propType(uint32_t tag) {
    return tag & 0xFFFF;
}

/// Tags the readers and the command line look up.
inline constexpr uint32_t PR_MESSAGE_CLASS = 0x001A001E;
inline constexpr uint32_t PR_SUBJECT = 0x0037001E;
inline constexpr uint32_t PR_CLIENT_SUBMIT_TIME = 0x00390040;
inline constexpr uint32_t PR_CONVERSATION_TOPIC = 0x0070001E;
inline constexpr uint32_t PR_MESSAGE_DELIVERY_TIME = 0x0E060040;
inline constexpr uint32_t PR_TNEF_CORRELATION_KEY = 0x007F0102;
inline constexpr uint32_t PR_BODY = 0x1000001E;
inline constexpr uint32_t PR_RTF_COMPRESSED = 0x10090102;
inline constexpr uint32_t PR_BODY_HTML = 0x10130102;
/// The HTML body asked for as an 8-bit string (the TNEF writer's form).
inline constexpr uint32_t PR_BODY_HTML_STRING8 = 0x1013001E;
/// The attendee list string: a named property that TNEF streams number 0x8238.
inline constexpr uint32_t PR_ATTENDEES_STRING8 = 0x8238001E;
inline constexpr uint32_t PR_ATTACH_DATA_OBJ = 0x3701000D;
inline constexpr uint32_t PR_ATTACH_DATA_BIN = 0x37010102;
inline constexpr uint32_t PR_ATTACH_FILENAME = 0x3704001E;
inline constexpr uint32_t PR_ATTACH_LONG_FILENAME = 0x3707001E;
inline constexpr uint32_t PR_ATTACH_MIME_TAG = 0x370E001E;
inline constexpr uint32_t PR_DISPLAY_NAME = 0x3001001E;
inline constexpr uint32_t PR_MESSAGE_CODEPAGE = 0x3FFD0003;
inline constexpr uint32_t PR_SENDER_NAME = 0x0C1A001E;
inline constexpr uint32_t PR_SENDER_ADDRTYPE = 0x0C1E001E;
inline constexpr uint32_t PR_SENDER_EMAIL_ADDRESS = 0x0C1F001E;
inline constexpr uint32_t PR_RECIPIENT_TYPE = 0x0C150003;
inline constexpr uint32_t PR_ADDRTYPE = 0x3002001E;
inline constexpr uint32_t PR_EMAIL_ADDRESS = 0x3003001E;
inline constexpr uint32_t PR_TRANSPORT_MESSAGE_HEADERS = 0x007D001E;
inline constexpr uint32_t PR_INTERNET_CPID = 0x3FDE0003;
inline constexpr uint32_t PR_MESSAGE_LOCALE_ID = 0x3FF10003;
inline constexpr uint32_t PR_ENTRYID = 0x0FFF0102;
inline constexpr uint32_t PR_SENDER_ENTRYID = 0x0C190102;
inline constexpr uint32_t PR_SMTP_ADDRESS = 0x39FE001E;
inline constexpr uint32_t PR_SENDER_SMTP_ADDRESS = 0x5D01001E;
inline constexpr uint32_t PR_SENT_REPRESENTING_SMTP_ADDRESS = 0x5D02001E;
inline constexpr uint32_t PR_INTERNET_MESSAGE_ID = 0x1035001E;
inline constexpr uint32_t PR_INTERNET_REFERENCES = 0x1039001E;
inline constexpr uint32_t PR_IN_REPLY_TO_ID = 0x1042001E;
inline constexpr uint32_t PR_ATTACH_CONTENT_ID = 0x3712001E;
inline constexpr uint32_t PR_ATTACH_CONTENT_LOCATION = 0x3713001E;

inline constexpr uint32_t kRTFCompressedId = 0x1009;

}  // namespace qb
