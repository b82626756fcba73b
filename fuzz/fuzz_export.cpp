// The exporters on whatever the readers make of the input: bodies (HTML regenerated through
// libxml2), attachments with detected names, nested messages serialised as MIME.
#include "OXMSG/OXMessage.h"
#include "exporters/HTMLNesting.h"
#include "exporters/TNEFMessageExporter.h"
#include "platform/Log.h"
#include "richtext/HTMLFontSizes.h"
#include "tnef/TNEFMessage.h"

namespace {

void exportAll(const std::shared_ptr<qb::OutlookMessage>& m) {
    if (!m) return;
    auto e = qb::TNEFMessageExporter::create(m, nullptr, ExportMode::RFC822);
    (void)e->data();
    (void)e->metadataPlist().dump(-1, ' ', false, qb::Dictionary::error_handler_t::replace);
    for (const auto* list : {&e->textExporters(), &e->attachmentExporters()})
        for (const auto& x : *list)
            (void)x->metadata();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = (qb::setLogSink({}), true);
    (void)quiet;
    const qb::Bytes bytes = qb::Bytes::copy(data, size);
    if (size >= 8 && bytes.view().substr(0, 8) == "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1")
        exportAll(qb::OXMessage::create(bytes));
    else
        exportAll(qb::TNEFMessage::create(bytes, nullptr, true, nullptr));
    // The HTML step on its own, with the input as markup.
    (void)qb::htmlWithFontsEnlarged(bytes.view(), 2.0);
    // The nesting scan that decides whether the HTML step may read a body.
    (void)qb::htmlNestsDeeperThan(bytes.view(), 8);
    return 0;
}
