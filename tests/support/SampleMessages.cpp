// SPDX-License-Identifier: Apache-2.0
#include "support/SampleMessages.h"

#include "model/CompressedRTF.h"

#include "platform/StringEncoding.h"
#include "support/TNEFWriter.h"

namespace qb::test {

namespace {

std::string hex(std::string_view text) {
    std::string out;
    auto nibble = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
    for (size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] == ' ') continue;
        out.push_back(static_cast<char>(nibble(text[i]) << 4 | nibble(text[i + 1])));
        ++i;
    }
    return out;
}

constexpr uint64_t kFileTime2024 = 0x01DA5D858688D980ULL;  // 2024-02-12 07:31:43 UTC
constexpr std::string_view kIIDMessage(
    "\x07\x03\x02\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46", 16);

PropsWriter recipient(std::string_view name, std::string_view address, uint32_t type) {
    PropsWriter row;
    row.string8(0x3001, name).string8(0x3002, "SMTP").string8(0x3003, address).u32(0x0C15, type);
    return row;
}

std::string embeddedReport() {
    PropsWriter props;
    props.unicode(0x0037, "Quarterly report (forwarded)")
        .string8(0x0C1A, "Ana Lima")
        .string8(0x0C1E, "SMTP")
        .string8(0x0C1F, "ana.lima@example.org")
        .unicode(0x1000, "The report is attached.\r\n");
    PropsWriter csvProps;
    csvProps.string8(0x3707, "report.csv").string8(0x370E, "text/csv");
    return TNEFWriter()
        .version()
        .oemCodepage(1252)
        .messageClass("IPM.Note")
        .mapiProps(props)
        .attachment("report.csv", "quarter,revenue\r\nQ1,1200\r\nQ2,1350\r\n", &csvProps)
        .str();
}

}  // namespace

std::string helloWorldCompressedRTF() {
    return hex(
        "2d000000 2b000000 4c5a4675 f1c5c7a7 03000a00 72637067 31323542 320af320"
        "68656c09 00206277 05b06c64 7d0a800f a0");
}

std::string compressedRTF(std::string_view rtf) {
    std::string body;
    for (size_t i = 0; i < rtf.size(); i += 8) {
        body += '\0';  // eight literal bytes follow
        body.append(rtf.substr(i, 8));
    }
    const auto* p = reinterpret_cast<const uint8_t*>(body.data());
    return ByteWriter()
        .u32(static_cast<uint32_t>(body.size() + 12))
        .u32(static_cast<uint32_t>(rtf.size()))
        .u32(0x75465A4C)  // "LZFu"
        .u32(calculateCRC32({p, body.size()}))
        .raw(body)
        .str();
}

std::string sampleWinmail() {
    PropsWriter props;
    props.string8(0x001A, "IPM.Note")
        .unicode(0x0037, "Grüße aus Köln: the Q1 numbers")
        .systime(0x0039, kFileTime2024)
        .unicode(0x0C1A, "Jörg Müller")
        .string8(0x0C1E, "SMTP")
        .string8(0x0C1F, "joerg.mueller@example.de")
        .unicode(0x1000, "Hello all,\r\n\r\nthe numbers are attached.\r\n\r\nJörg\r\n")
        .binary(0x1009, helloWorldCompressedRTF())
        .binary(0x007F, std::string("<00000000A1B2C3D4@example.de>") + '\0')
        .u32(0x3FFD, 1252);

    PropsWriter textProps;
    textProps.string8(0x3707, "notes.txt").string8(0x370E, "text/plain");
    PropsWriter imageProps;
    imageProps.string8(0x3707, "pixel.png")
        .string8(0x370E, "image/png")
        .string8(0x3712, "pixel@example.de");
    PropsWriter messageProps;
    messageProps.string8(0x3001, "Quarterly report (forwarded)")
        .binary(0x3701, std::string(kIIDMessage) + embeddedReport(), 0x000D)
        .u32(0x3705, 5);

    const std::string png =
        hex("89504e470d0a1a0a0000000d49484452000000010000000108060000001f15c4"
            "890000000d49444154789c6360f8cf00000301010018dd8db00000000049454e44ae426082");

    return TNEFWriter()
        .version()
        .oemCodepage(1252)
        .messageClass("IPM.Note")
        .subject(*encodeString("Grüße aus Köln", kWindowsCP1252Encoding))
        .date(0x8005, 2024, 2, 12, 7, 31, 43)
        .mapiProps(props)
        .recipients({recipient("Ana Lima", "ana.lima@example.org", 1),
                     recipient("Bo Chen", "bo.chen@example.net", 1),
                     recipient("Carla Diaz", "carla@example.com", 2)})
        .attachment("notes.txt", "Numbers for Q1 are final.\n", &textProps)
        .attachment("pixel.png", png, &imageProps)
        .attachment("", "", &messageProps)
        .str();
}

}  // namespace qb::test

namespace qb::test {

std::string largeWinmail(size_t attachments, size_t attachmentSize, size_t recipients) {
    PropsWriter props;
    props.unicode(0x0037, "Large message").string8(0x001A, "IPM.Note").u32(0x3FFD, 1252);
    std::vector<PropsWriter> rows;
    for (size_t i = 0; i < recipients; ++i)
        rows.push_back(recipient("Person " + std::to_string(i),
                                 "person" + std::to_string(i) + "@example.com", 1));
    TNEFWriter w;
    w.version().oemCodepage(1252).messageClass("IPM.Note").mapiProps(props).recipients(rows);
    std::string content(attachmentSize, '\0');
    for (size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>((i * 131) >> 3);
    for (size_t i = 0; i < attachments; ++i) {
        const std::string name = "file-" + std::to_string(i) + ".bin";
        PropsWriter a;
        a.string8(0x3707, name).string8(0x370E, "application/octet-stream").u32(0x3705, 1);
        content[0] = static_cast<char>(i);
        w.attachment(name, content, &a);
    }
    return w.str();
}

}  // namespace qb::test

#include "support/MsgWriter.h"

namespace qb::test {

std::string largeMsg(size_t attachments, size_t attachmentSize) {
    MsgFile f;
    f.root.string8(0x001A, "IPM.Note").unicode(0x0037, "Large message");
    std::string content(attachmentSize, '\0');
    for (size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>((i * 131) >> 3);
    for (size_t i = 0; i < attachments; ++i) {
        MsgProps a;
        content[0] = static_cast<char>(i);
        a.unicode(0x3707, "file-" + std::to_string(i) + ".bin")
            .binary(0x3701, content)
            .u32(0x3705, 1);
        f.attachments.push_back({a, {}});
    }
    return f.write();
}

}  // namespace qb::test
