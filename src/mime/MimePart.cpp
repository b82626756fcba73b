// SPDX-License-Identifier: Apache-2.0
// Reading an entity into a part: header block, disposition and type parameters, and the
// boundary split into children, bounded in depth and in the number of parts.
#include "mime/MimePart.h"

#include <fmt/format.h>

#include <cstring>

#include "mailkit/Base64.h"
#include "mailkit/MKMimeHeadersParser.h"
#include "mailkit/MimeEncoding.h"
#include "mime/MimeConstants.h"
#include "platform/AsciiCase.h"
#include "platform/Log.h"

namespace qb {

namespace {

constexpr std::string_view kHeaderEnd = "\r\n\r\n";

bool isSpaceOrBreak(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

std::string_view trimmed(std::string_view s, std::string_view extra = {}) {
    auto strip = [&](char c) {
        return isSpaceOrBreak(c) || extra.find(c) != std::string_view::npos;
    };
    while (!s.empty() && strip(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && strip(s.back()))
        s.remove_suffix(1);
    return s;
}

// Every piece between separators, empty ones included, as the string splitters of mail
// code do.
std::vector<std::string_view> splitAll(std::string_view s, char separator) {
    std::vector<std::string_view> out;
    size_t start = 0;
    for (;;) {
        const size_t at = s.find(separator, start);
        if (at == std::string_view::npos) {
            out.push_back(s.substr(start));
            return out;
        }
        out.push_back(s.substr(start, at - start));
        start = at + 1;
    }
}

// Linear in the haystack whatever the needle (glibc's two-way search), so a boundary as
// long as the body costs no more than a short one.
size_t findBytes(std::string_view haystack, std::string_view needle, size_t from) {
    if (from > haystack.size()) return std::string_view::npos;
    if (needle.empty()) return from;
    // Also keeps memmem from an empty haystack's null data.
    if (haystack.size() - from < needle.size()) return std::string_view::npos;
    const void* at =
        memmem(haystack.data() + from, haystack.size() - from, needle.data(), needle.size());
    if (!at) return std::string_view::npos;
    return size_t(static_cast<const char*>(at) - haystack.data());
}

// The header block and the body of an entity; both absent without a blank line.
struct Split {
    std::optional<Bytes> headers, body;
};

Split splitEntity(const Bytes& data) {
    const size_t at = findBytes(data.view(), kHeaderEnd, 0);
    if (at == std::string_view::npos) return {};
    return {data.slice(0, at), data.slice(at + kHeaderEnd.size())};
}

MKMimeHeaders parseHeaders(const Split& split) {
    return split.headers ? MKMimeHeadersParser::parse(split.headers->view()) : MKMimeHeaders();
}

// The registry lookup key of a Content-Type value: up to the first ";", lower-cased.
std::optional<std::string> registryType(const MKMimeHeaders& headers) {
    auto value = headers.firstHeaderForKey(kMimeHeaderContentType);
    if (!value) return std::nullopt;
    return lowercasedASCII(std::string_view(*value).substr(0, value->find(';')));
}

}  // namespace

const MimePartClass& MimePart::partClass() {
    static const MimePartClass cls{"MimePart", [] { return std::make_shared<MimePart>(); }};
    return cls;
}

MimePartPtr MimePart::mimePartForData(const Bytes& data) {
    ParseBudget budget;
    return mimePartForData(data, 0, budget);
}

MimePartPtr MimePart::mimePartForData(const Bytes& data, int depth, ParseBudget& budget) {
    const Split split = splitEntity(data);
    MKMimeHeaders headers = parseHeaders(split);
    const auto type = registryType(headers);
    auto part =
        classForMimeType(type ? std::optional<std::string_view>(*type) : std::nullopt).make();
    ++budget.parts;
    part->readMimeData(data, std::move(headers), depth, budget);
    return part;
}

void MimePart::initWithMimeData(const Bytes& data) {
    ParseBudget budget;
    readMimeData(data, parseHeaders(splitEntity(data)), 0, budget);
}

void MimePart::readMimeData(const Bytes& data, MKMimeHeaders headers, int depth,
                            ParseBudget& budget) {
    const Split split = splitEntity(data);
    headers_ = std::move(headers);
    const auto disposition = headers_.firstHeaderForKey(kMimeHeaderContentDisposition);
    const auto contentType = headers_.firstHeaderForKey(kMimeHeaderContentType);
    if (auto cte = headers_.firstHeaderForKey(kMimeHeaderContentTransferEncoding))
        internalContentTransferEncoding_ = lowercasedASCII(*cte);
    contentId_ = headers_.firstHeaderForKey(kMimeHeaderContentID);

    if (disposition) {
        for (std::string_view piece : splitAll(*disposition, ';')) {
            if (piece.find('=') == std::string_view::npos) {
                contentDisposition_["type"] = std::string(piece);
                continue;
            }
            // Only what lies between the first and second "=" is the value, so a quoted
            // value holding "=" is cut there.
            const auto halves = splitAll(piece, '=');
            contentDisposition_[lowercasedASCII(trimmed(halves[0]))] = std::string(halves[1]);
        }
    }

    if (contentType) {
        const auto pieces = splitAll(*contentType, ';');
        const std::string media = lowercasedASCII(pieces[0]);
        const auto halves = splitAll(media, '/');
        type_ = std::string(halves[0]);
        subtype_ = std::string(halves.size() == 2 ? halves[1] : halves[0]);
        for (size_t i = 1; i < pieces.size(); ++i) {
            const std::string_view piece = trimmed(pieces[i]);
            const std::string lower = lowercasedASCII(piece.substr(0, 9));
            if (lower.starts_with("boundary=")) {
                boundary_ = std::string(trimmed(piece.substr(9), "\""));
                if (split.body) splitBody(*split.body, *boundary_, depth, budget);
            } else if (lower.starts_with("charset=")) {
                internalCharset_ = std::string(trimmed(piece.substr(8), "\""));
            }
        }
    }
    if (subParts_.empty()) contentData_ = split.body;
}

void MimePart::splitBody(const Bytes& body, std::string_view boundary, int depth,
                         ParseBudget& budget) {
    if (depth >= kMaxMimeNesting) {
        if (!budget.reported)
            logf("MIME parts nested deeper than {} levels: the deeper ones are left unread",
                 kMaxMimeNesting);
        budget.reported = true;
        return;
    }
    const std::string_view text = body.view();
    std::string separator = fmt::format("\n--{}", boundary);
    if (findBytes(text, separator, 0) == std::string_view::npos) {
        separator = fmt::format("\n{}", boundary);
        if (findBytes(text, separator, 0) == std::string_view::npos) return;
    }
    auto self = shared_from_this();
    size_t start = 0;
    for (bool last = false; !last;) {
        size_t end = findBytes(text, separator, start);
        if (end == std::string_view::npos) {
            end = text.size();
            last = true;
        }
        const std::string_view raw = text.substr(start, end - start);
        std::string_view piece = trimmed(raw);
        start = end + separator.size();
        if (piece.empty() || piece == "--") continue;
        // A part whose body is empty or blank loses its blank line to the trimming; its
        // header block still ends where the blank line was, and the part keeps an empty body.
        if (findBytes(piece, kHeaderEnd, 0) == std::string_view::npos) {
            const size_t from = size_t(piece.data() - raw.data());
            const size_t blank = findBytes(raw, kHeaderEnd, from);
            if (blank != std::string_view::npos)
                piece = raw.substr(from, blank + kHeaderEnd.size() - from);
        }
        if (budget.parts >= kMaxMimeParts) {
            if (!budget.reported)
                logf("MIME data with more than {} parts: the rest are left unread", kMaxMimeParts);
            budget.reported = true;
            return;
        }
        const size_t offset = size_t(piece.data() - text.data());
        auto child = mimePartForData(body.slice(offset, piece.size()), depth + 1, budget);
        if (!child->type()) continue;
        child->setParent(self);
        subParts_.push_back(std::move(child));
    }
}

std::string MimePart::htmlEnvelopeWithContents(std::string_view fragment) {
    static constexpr std::string_view kHead =
        "<html>\n"
        "<head>\n"
        "<style type=\"text/css\">\n"
        "pre {\n"
        "font-family:\"Helvetica Neue\";\n"
        "font-weight:200;\n"
        "font-size:14px;\n"
        "    }\n"
        "body {background-color:#eee;}\n"
        ".box {margin:10px; border:0.5px solid #ccc; padding:10px; background-color:#fff; "
        "box-shadow: 1px 1px 5px #ccc;}</style>\n"
        "<script>\n"
        "dragout.ondragstart = function(e) {\n"
        "var dt = e.dataTransfer,\n"
        "data = this.getAttribute(\"data-downloadurl\");\n"
        "\n"
        "dt.setData(\"DownloadURL\", data);\n"
        "}\n"
        "</script>\n"
        "</head>\n"
        "<body>\n"
        "<div class=\"box\">\n";
    static constexpr std::string_view kTail =
        "\n"
        "</div>\n"
        "</body>\n"
        "</html>";
    std::string page;
    page.reserve(kHead.size() + fragment.size() + kTail.size());
    page += kHead;
    page += fragment;
    page += kTail;
    return page;
}

std::string MimePart::MIMEtype() const {
    return fmt::format("{}/{}", type_.value_or("(null)"), subtype_.value_or("(null)"));
}

std::optional<Bytes> MimePart::decodedContent() const {
    if (!contentData_) return std::nullopt;
    const auto cte = contentTransferEncoding();
    if (cte && equalsIgnoringASCIICase(*cte, kMimeTransferEncodingBase64))
        return dataFromBase64String(contentData_->view());
    if (cte && equalsIgnoringASCIICase(*cte, kMimeTransferEncodingQuotedPrintable))
        return Bytes::adoptString(quotedPrintableDecodedBytes(contentData_->view()));
    return contentData_;
}

std::string MimePart::base64Data() const {
    const std::string_view body = contentData_ ? contentData_->view() : std::string_view();
    const auto cte = contentTransferEncoding();
    if (cte && equalsIgnoringASCIICase(*cte, kMimeTransferEncodingBase64))
        return base64EncodedString(NewBase64Decode(body));
    return base64EncodedString(body);
}

std::string MimePart::trimmedContentId() const {
    std::string_view id = contentId_ ? std::string_view(*contentId_) : std::string_view();
    while (!id.empty() && (id.front() == '<' || id.front() == '>'))
        id.remove_prefix(1);
    while (!id.empty() && (id.back() == '<' || id.back() == '>'))
        id.remove_suffix(1);
    return std::string(id);
}

std::vector<WebResource> MimePart::webArchiveResources() const {
    const auto cte = contentTransferEncoding();
    if (!contentId_ || !cte || !equalsIgnoringASCIICase(*cte, kMimeTransferEncodingBase64))
        return {};
    if (!contentData_) return {};
    return {WebResource{dataFromBase64String(contentData_->view()), "cid:" + trimmedContentId(),
                        MIMEtype(), kMimeTransferEncodingBase64, ""}};
}

std::optional<std::string> MimePart::bodyText(const Bytes& bytes) const {
    return decodeString(bytes.view(), stringEncoding(), false);
}

std::optional<std::string> MimePart::webArchiveData() const {
    if (!contentData_ || type_) return std::nullopt;
    auto text = bodyText(*contentData_);
    if (!text) return std::nullopt;
    return htmlEnvelopeWithContents(
        fmt::format("<pre style=\"white-space: pre-wrap\">{}</pre>\n", *text));
}

std::optional<std::string> MimePart::filename() const {
    const auto it = contentDisposition_.find("filename");
    if (it == contentDisposition_.end()) return std::nullopt;
    std::string_view name = it->second;
    while (!name.empty() && name.front() == '"')
        name.remove_prefix(1);
    while (!name.empty() && name.back() == '"')
        name.remove_suffix(1);
    return std::string(name);
}

MimePartPtr MimePart::partWithContentID(std::string_view contentID) {
    if (contentId_ && trimmedContentId() == contentID) return shared_from_this();
    return nullptr;
}

std::vector<MimePartPtr> MimePart::attachments() {
    return {};
}

StringEncoding MimePart::stringEncoding() const {
    const auto cs = charset();
    if (cs && equalsIgnoringASCIICase(*cs, kMimeContentEncodingISO8859)) return kISOLatin1Encoding;
    if (cs && equalsIgnoringASCIICase(*cs, kMimeContentEncodingUTF8)) return kUTF8Encoding;
    return kASCIIEncoding;
}

std::optional<std::string> MimePart::contentTransferEncoding() const {
    // The depth limit of parsing bounds this walk; built trees have no parents.
    if (internalContentTransferEncoding_) return internalContentTransferEncoding_;
    for (auto p = parent_.lock(); p; p = p->parent_.lock())
        if (p->internalContentTransferEncoding_) return p->internalContentTransferEncoding_;
    return std::nullopt;
}

std::optional<std::string> MimePart::charset() const {
    if (internalCharset_) return internalCharset_;
    for (auto p = parent_.lock(); p; p = p->parent_.lock())
        if (p->internalCharset_) return p->internalCharset_;
    return std::nullopt;
}

std::string MimePart::description() const {
    return fmt::format("<{} {}> type: {} subType:{} encoding: {}\nSubParts:\n{}", className(),
                       static_cast<const void*>(this), type_.value_or("(null)"),
                       subtype_.value_or("(null)"), contentTransferEncoding().value_or("(null)"),
                       subParts_.size());
}

}  // namespace qb
