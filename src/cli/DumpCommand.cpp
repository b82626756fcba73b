// SPDX-License-Identifier: Apache-2.0
// quillbox dump: TNEF records or the compound-file tree, and every property with its name,
// nested messages indented, so a damaged file can be inspected as the readers saw it.
#include <fmt/format.h>

#include <cstdio>
#include <set>

#include "OXMSG/OXMessage.h"
#include "OXMSG/cfb/CFBEntry.h"
#include "cli/Commands.h"
#include "cli/MessageInput.h"
#include "cli/OutputFile.h"
#include "cli/ValueSummary.h"
#include "model/MAPIProps.h"
#include "model/MAPITypes.h"
#include "model/PropertyTags.h"
#include "tnef/TNEFAttachment.h"
#include "tnef/TNEFAttr.h"
#include "tnef/TNEFMessage.h"

namespace qb::cli {

namespace {

constexpr int kMaxNesting = TNEFMessage::kMaxDepth;

class Dumper {
  public:
    std::string out;

    // Nested messages are shown to the readers' own depth limit; the guard only keeps a
    // damaged model from recursing without end, and says so when it cuts.
    void message(const OutlookMessage& m, int depth) {
        if (levels_ > kMaxNesting) {
            m.report()->warn("embedded message nested too deep to dump");
            return;
        }
        ++levels_;
        messageLevel(m, depth);
        --levels_;
    }

  private:
    int levels_ = 0;

    void messageLevel(const OutlookMessage& m, int depth) {
        if (auto ox = dynamic_cast<const OXMessage*>(&m)) return msgMessage(*ox, depth);
        const std::string pad(size_t(depth) * 4, ' ');
        out += fmt::format("{}encoding: {}\n", pad, ianaNameForEncoding(m.encoding()));
        out += fmt::format("{}message attributes: {}\n", pad, m.attributes().size());
        for (const auto& a : m.attributes())
            attribute(*a, depth + 1);
        out += fmt::format("{}attachments: {}\n", pad, m.attachments().size());
        for (size_t i = 0; i < m.attachments().size(); ++i) {
            out += fmt::format("{}  attachment {}:\n", pad, i + 1);
            const auto& attachment = *m.attachments()[i];
            for (const auto& a : attachment.attributes())
                attribute(*a, depth + 1, attachment.mapiprops());
        }
    }

    // A .msg: its storage tree, then the properties of the message, of each recipient and of
    // each attachment, embedded messages indented below their attachment.
    void msgMessage(const OXMessage& m, int depth) {
        const std::string pad(size_t(depth) * 4, ' ');
        out += fmt::format("{}encoding: {}\n", pad, ianaNameForEncoding(m.encoding()));
        if (depth == 0) {
            out += "storage tree:\n";
            tree(*m.rootEntry(), 1);
        }
        out += fmt::format("{}message properties: {}\n", pad, m.mapiprops()->size());
        properties(*m.mapiprops(), depth + 1);
        const auto recipients = m.processRecipients(*m.rootEntry());
        out += fmt::format("{}recipients: {}\n", pad, recipients.size());
        for (size_t i = 0; i < recipients.size(); ++i) {
            out += fmt::format("{}  recipient {}:\n", pad, i + 1);
            properties(recipients[i], depth + 1);
        }
        out += fmt::format("{}attachments: {}\n", pad, m.attachments().size());
        for (size_t i = 0; i < m.attachments().size(); ++i) {
            const auto& a = *m.attachments()[i];
            out += fmt::format("{}  attachment {}:\n", pad, i + 1);
            if (a.mapiprops()) properties(*a.mapiprops(), depth + 1);
            if (auto nested = a.nestedMessage()) {
                out += fmt::format("{}    embedded message:\n", pad);
                message(*nested, depth + 2);
            }
        }
    }

    void tree(const CFBEntry& e, int depth) {
        if (depth > kMaxNesting) return;
        for (const auto& child : e.entries()) {
            const std::string pad(size_t(depth) * 2, ' ');
            if (child->isDirectoryEntry()) {
                // A damaged directory can lead back to a storage shown already.
                if (!shownStorages_.insert(child->dirEntry()).second) {
                    out += fmt::format("{}{}/ (shown above)\n", pad, child->name());
                    continue;
                }
                out += fmt::format("{}{}/\n", pad, child->name());
                tree(*child, depth + 1);
            } else {
                out += fmt::format("{}{} ({} bytes)\n", pad, child->name(), child->length());
            }
        }
    }

    void attribute(const TNEFAttr& a, int depth, const MAPIPropList* attachmentProps = nullptr) {
        const std::string pad(size_t(depth) * 4, ' ');
        out += fmt::format("{}{} {} length {}: {}\n", pad, a.nameString(), a.typeString(),
                           a.length(), summarize(a.value()));
        if (auto props = std::get_if<MAPIPropList>(&a.value())) {
            properties(*props, depth + 1);
        } else if (auto rows = std::get_if<RecipientRows>(&a.value())) {
            for (size_t i = 0; i < rows->size(); ++i) {
                out += fmt::format("{}    row {}:\n", pad, i + 1);
                properties((*rows)[i], depth + 2);
            }
        } else if (a.name() == attAttachment && a.type() == atpByte && attachmentProps) {
            // The attachment's own property list lives inside this record.
            properties(*attachmentProps, depth + 1);
        }
    }

    void properties(const MAPIPropList& props, int depth) {
        for (const auto& p : props)
            property(*p, depth);
    }

    void property(const MAPIProp& p, int depth) {
        const std::string pad(size_t(depth) * 4, ' ');
        std::string label;
        if (p.propName()) {
            // A named property: its set and LID (or name) say what it is; the id is only
            // where this file keeps it.
            const auto& n = *p.propName();
            label = n.GUID() ? formatGUID(*n.GUID()) : std::string("{?}");
            // fmt rather than `" " + std::string`, which trips g++ 12's -Wrestrict at -O3.
            label += n.name() ? fmt::format(" {}", quotedText(*n.name()))
                              : fmt::format(" 0x{:04X}", n.propID());
            if (n.name() || n.propID() != p.name())
                label += fmt::format(" (id 0x{:04X})", p.name());
        } else if (auto name = nameForPropertyTag(p.tag())) {
            label = std::string(*name);
        } else {
            label = fmt::format("0x{:04X}", p.name());
        }
        std::string type = propTypeName(p.type());
        if (p.isMultiValued() && p.valueCount() != 1) {
            out += fmt::format("{}{} MV_{} [{}]\n", pad, label, type, p.valueCount());
            // Values that take no bytes are kept once, however many there are.
            const bool repeated = p.valueCount() != p.values().size();
            for (const auto& v : p.values())
                value(*v, depth + 1, repeated ? "- every value: " : "- ");
        } else {
            out += fmt::format("{}{} {}: ", pad, label, type);
            if (auto v = p.value())
                value(*v, depth, "");
            else
                out += "(no value)\n";
        }
    }

    void value(const MAPIValue& v, int depth, const char* bullet) {
        const std::string pad(size_t(depth) * 4, ' ');
        if (*bullet) out += pad + bullet;
        const MAPIData& data = v.value();
        if (v.name() == kRTFCompressedId && std::holds_alternative<Bytes>(data)) {
            out += "RTF " + quotedText(std::get<Bytes>(data).view(), 60) + "\n";
            return;
        }
        out += summarize(data) + "\n";
        if (auto nested = std::get_if<std::shared_ptr<OutlookMessage>>(&data); nested && *nested)
            message(**nested, depth + 1);
    }

    std::set<const POLE::DirEntry*> shownStorages_;
};

}  // namespace

std::string dumpMessage(const OutlookMessage& message) {
    Dumper d;
    d.message(message, 0);
    return d.out;
}

namespace {

int dumpOf(const std::string& file, bool& outputFailed) {
    OpenedInput in = openInput(file);
    if (!in.message) {
        reportFailure(file, *in.error);
        return finishInput(in, kExitFailed);
    }
    std::string text = fmt::format("{}: {}\n", file, formatName(in.format));
    text += dumpMessage(*in.message);
    if (!writeStandardOutput(text)) {
        reportStandardOutputFailure();
        outputFailed = true;
        return kExitFailed;
    }
    return finishInput(in, kExitOK);
}

}  // namespace

int runDump(const std::vector<std::string>& files) {
    int status = kExitOK;
    for (const auto& file : files) {
        bool outputFailed = false;
        status =
            worseStatus(status, guardedInput(file, [&] { return dumpOf(file, outputFailed); }));
        // The rest would be lost as well.
        if (outputFailed) return kExitFailed;
    }
    return status;
}

}  // namespace qb::cli
