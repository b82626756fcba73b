// SPDX-License-Identifier: Apache-2.0
// The .msg reader: turns a compound file's storages and streams into an OutlookMessage; the
// exporters, the front door and the command line read it through that interface.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "model/OutlookMessage.h"
#include "platform/Export.h"
#include "platform/ReadError.h"
#include "tnef/TNEFAttachment.h"

// The compound-file reader stays out of the installed headers: a program that reads .msg files
// needs the message, not the storages it came from.
namespace POLE {
struct DirEntry;
}

namespace qb {

class CFBEntry;

inline constexpr const char* kOXMessageErrorDomain = "OXMessageErrorDomain";
/// The code of every failure to read a .msg file.
inline constexpr int kOXMessageErrorUnreadable = 2;

/// An Outlook .msg file (MAPI properties in a compound file) read into the message model.
class QB_API OXMessage : public OutlookMessage {
  public:
    static constexpr int kMaxDepth = 64;

    /// What one property storage holds.
    struct QBProperties {
        uint32_t recipientCount = 0;
        uint32_t attachmentCount = 0;
        bool isRootMessage = false;
        MAPIPropList props;
    };
    using NameMap = std::map<uint32_t, std::shared_ptr<MAPIPropName>>;

    /// Nothing when the data is no compound file or its properties cannot be read; then `why`
    /// (when given) says why and where. The header check (next IDs equal to the counts) is
    /// skipped unless `ignoreChecksum` is false.
    static std::shared_ptr<OXMessage> create(Bytes data, bool ignoreChecksum = true,
                                             ReadError* why = nullptr);
    static std::shared_ptr<OXMessage> create(std::shared_ptr<CFBEntry> entry, bool ignoreChecksum,
                                             int depth = 0);

    /// The storages opened as messages in one file; a damaged directory may lead an
    /// attachment back to one of them, which is then not opened again.
    using OpenedStorages = std::set<const POLE::DirEntry*>;

    /// Whether a storage holds any property stream of a message; without one it is another
    /// kind of document (a Word file, an OLE object), not a message.
    static bool holdsMessageProperties(const CFBEntry& storage);

    /// Nothing when the stream's header is of no known form (logged, and described in `why`
    /// with the stream's offset in the file).
    std::optional<QBProperties> processProperties(const CFBEntry& storage, const NameMap* names,
                                                  ReadError* why = nullptr) const;
    /// `streamOffset`: where the property stream starts in the file, for warnings.
    MAPIPropList processPropertyList(const Bytes& stream, size_t headerSize,
                                     std::optional<uint64_t> streamOffset) const;
    MAPIPropList processPropEntries(const CFBEntry& storage) const;
    std::shared_ptr<MAPIProp> processProperty(const CFBEntry& stream) const;
    NameMap processNameIDs(const CFBEntry& root) const;
    static void translateNames(const MAPIPropList& props, const NameMap& names);
    std::vector<MAPIPropList> processRecipients(const CFBEntry& root) const;
    AttachmentList processAttachments(const CFBEntry& root) const;

    const std::shared_ptr<CFBEntry>& rootEntry() const { return root_; }

    /// OutlookMessage
    bool ignoreChecksum() const override { return ignoreChecksum_; }
    StringEncoding encoding() const override { return encoding_; }
    const TNEFAttrList& attributes() const override { return noAttributes_; }
    const MAPIPropList* mapiprops() const override { return &props_; }
    const AttachmentList& attachments() const override { return attachments_; }
    std::optional<std::string> tnefCorrelator() const override { return std::nullopt; }
    std::optional<std::string> messageClass() const override { return messageClass_; }
    const AddressList& toRecipients() const override { return to_; }
    const AddressList& ccRecipients() const override { return cc_; }
    const AddressList& bccRecipients() const override { return bcc_; }
    std::shared_ptr<Address> sender() const override { return sender_; }
    std::optional<std::string> subject() const override { return subject_; }
    std::optional<Date> date() const override { return std::nullopt; }
    bool isTnefCorrelatorMatchingMimeHeader() const override { return false; }
    ValueLayout valueLayout() const override { return ValueLayout::WholeBuffer; }
    std::shared_ptr<OutlookMessage> openEmbeddedMessage(const Bytes&) const override {
        return nullptr;
    }

    /// `report` is the one of the compound file the message is read from.
    OXMessage(bool ignoreChecksum, int depth, std::shared_ptr<OpenedStorages> opened,
              std::shared_ptr<ReadReport> report)
        : OutlookMessage(std::move(report)),
          ignoreChecksum_(ignoreChecksum),
          depth_(depth),
          opened_(std::move(opened)) {}

  private:
    bool open(std::shared_ptr<CFBEntry> entry, ReadError* why = nullptr);
    std::shared_ptr<const OutlookMessage> self() const { return shared_from_this(); }
    void processEncoding(const MAPIPropList& props);
    void parseMessageHeaders();
    void mergeMimeMessageHeaders();

    bool ignoreChecksum_;
    int depth_;
    std::shared_ptr<OpenedStorages> opened_;
    StringEncoding encoding_ = kWindowsCP1252Encoding;
    std::shared_ptr<CFBEntry> root_;
    TNEFAttrList noAttributes_;
    MAPIPropList props_;
    AttachmentList attachments_;
    std::optional<std::string> messageClass_, subject_;
    std::shared_ptr<Address> sender_;
    AddressList to_, cc_, bcc_;
};

}  // namespace qb
