// SPDX-License-Identifier: Apache-2.0
// The Python-side objects over the message model: Message, Attachment, Address, Bodies.
#pragma once

#include <pybind11/pybind11.h>

#include <memory>
#include <optional>
#include <string>

#include "api/OpenMessage.h"
#include "model/OutlookMessage.h"
#include "tnef/TNEFAttachment.h"

namespace qb::python {

// A message and what it was opened from. Every value it hands out shares its buffers.
// Dropped by Python, the message is freed by the thread's next call (see ReleasedGIL.h).
struct MessageObject {
    std::shared_ptr<OutlookMessage> message;
    MessageFormat format = MessageFormat::TNEF;
    // The path it was opened from, or the name given with bytes; nothing for bytes without a
    // name and for nested messages.
    std::optional<std::string> file;
    // The input's size; nothing of its own for a nested message.
    size_t inputSize = 0;

    MessageObject(std::shared_ptr<OutlookMessage> message, MessageFormat format,
                  std::optional<std::string> file, size_t inputSize);
    MessageObject(MessageObject&&) = default;
    MessageObject(const MessageObject&) = default;
    ~MessageObject();
};

struct AttachmentObject {
    std::shared_ptr<TNEFAttachment> attachment;
    // The message holding it, kept alive for the attachment's back-references.
    std::shared_ptr<OutlookMessage> owner;
    size_t ownerInputSize = 0;

    AttachmentObject(std::shared_ptr<TNEFAttachment> attachment,
                     std::shared_ptr<OutlookMessage> owner, size_t ownerInputSize);
    AttachmentObject(AttachmentObject&&) = default;
    AttachmentObject(const AttachmentObject&) = default;
    ~AttachmentObject();
};

// Opens a path (str or os.PathLike) or bytes-like data; raises quillbox.Error.
MessageObject openSource(const pybind11::object& source, const std::optional<std::string>& name);

// Registers Message, Attachment, Address and Bodies.
void defineMessageTypes(pybind11::module_& module);

}  // namespace qb::python
