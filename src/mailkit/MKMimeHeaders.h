// SPDX-License-Identifier: Apache-2.0
// A header block as the MIME parts and exported messages write it: fields in order, folded,
// non-ASCII values as encoded words.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Export.h"
#include "platform/StringEncoding.h"

namespace qb {

/// A writable set of header fields, rendered as a folded, encoded RFC 2822 header block.
class QB_API MKMimeHeaders {
public:
    /// Field name -> its values in order; the first value is the one written. Kept in the
    /// order the names were first stored.
    using HeaderDictionary = std::vector<std::pair<std::string, std::vector<std::string>>>;

    MKMimeHeaders() = default;
    /// Names are kept as given.
    explicit MKMimeHeaders(HeaderDictionary dictionary) : dict_(std::move(dictionary)) {}

    /// Stores one value under the capitalized name, replacing that name's earlier values.
    void setHeader(std::string_view value, std::string_view key);
    /// The first value of the first field whose name matches ignoring case, CR LF removed.
    std::optional<std::string> firstHeaderForKey(std::string_view key) const;

    /// The header block: From, To, Cc, Date, Subject, Message-Id first, then the rest in
    /// stored order; long lines folded at white space before 79 characters; values beyond
    /// ASCII as encoded words of at most 75 characters. Fields joined by CR LF, no CR LF at
    /// the end.
    std::string foldedHeaderString() const;
    /// Each stored value on one line as stored, values beyond ASCII as one encoded word.
    std::string unfoldedHeaderString() const;

    /// A field as encoded-word lines: "Key: =?cs?Q?…?=", then " =?cs?Q?…?=" lines, each at
    /// most 75 characters, never cutting an escape. Nothing when no encoding holds the value.
    static std::optional<std::string> mimeEncodedHeaderForKey(std::optional<std::string_view> key,
                                                              std::string_view value,
                                                              StringEncoding preferred,
                                                              StringEncoding* used = nullptr);

    const HeaderDictionary& headerDictionary() const { return dict_; }
    void setHeaderDictionary(HeaderDictionary d) { dict_ = std::move(d); }
    StringEncoding preferredEncoding() const { return preferredEncoding_; }
    void setPreferredEncoding(StringEncoding e) { preferredEncoding_ = e; }

private:
    HeaderDictionary dict_;
    StringEncoding preferredEncoding_ = 0;
};

/// Folds one header line at white space so that lines stay under 79 characters where the
/// words allow; only CR LF is inserted.
QB_API std::string foldHeaderLine(std::string_view line);

}  // namespace qb
