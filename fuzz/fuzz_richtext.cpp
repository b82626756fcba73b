// Rich text: the RTF and HTML readers, the writers, the recovery of encapsulated HTML and text,
// and picture documents.
#include "platform/Log.h"
#include "richtext/HTMLStyledTextReader.h"
#include "richtext/RTFDocument.h"
#include "richtext/RTFEncapsulation.h"
#include "richtext/RTFReader.h"
#include "richtext/StyledTextHTMLWriter.h"
#include "richtext/StyledTextRTFWriter.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = (qb::setLogSink({}), true);
    (void)quiet;
    const qb::Bytes bytes = qb::Bytes::copy(data, size);
    if (auto styled = qb::readRTF(bytes)) {
        styled->changeFontByPointSize(2.0);
        (void)qb::htmlOfStyledText(*styled);
        // What the writer makes must read again.
        const std::string rtf = qb::rtfOfStyledText(*styled);
        if (!qb::readRTF(qb::Bytes::fromString(rtf))) __builtin_trap();
    }
    (void)qb::decapsulateRTF(bytes.view());
    (void)qb::readHTML(bytes.view());
    if (auto doc = qb::RTFDocument::create(bytes)) (void)doc->htmlData();
    return 0;
}
