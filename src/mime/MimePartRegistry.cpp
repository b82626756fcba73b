// SPDX-License-Identifier: Apache-2.0
// The process-wide map from media type to part class: one table under one lock, filled with
// the library's classes once, before the first lookup.
#include <mutex>
#include <string>
#include <unordered_map>

#include "mime/ApplicationMimeParts.h"
#include "mime/MediaMimeParts.h"
#include "mime/MimePart.h"
#include "mime/MultipartMimePart.h"
#include "mime/TextMimeParts.h"
#include "platform/AsciiCase.h"

namespace qb {

namespace {

struct Registry {
    std::mutex lock;
    std::unordered_map<std::string, const MimePartClass*> classes;
};

Registry& registry() {
    static Registry r;
    return r;
}

std::once_flag builtinsOnce;

void store(std::string_view type, const MimePartClass& cls) {
    Registry& r = registry();
    std::lock_guard guard(r.lock);
    r.classes[lowercasedASCII(type)] = &cls;
}

}  // namespace

void registerBuiltinMimeParts() {
    // Explicit, not self-registering statics: the linker drops those from a static library.
    std::call_once(builtinsOnce, [] {
        store("text/html", TextHtmlMimePart::partClass());
        store("text/*", TextMimePart::partClass());
        store("image/*", ImageMimePart::partClass());
        store("video/*", VideoMimePart::partClass());
        store("application/pdf", ApplicationPdfMimePart::partClass());
        store("application/*", ApplicationMimePart::partClass());
        store("multipart/alternative", MultipartAlternativeMimePart::partClass());
        store("multipart/*", MultipartMimePart::partClass());
    });
}

void MimePart::registerForMimeType(std::string_view type, const MimePartClass& cls) {
    // The built-in classes first, so a later registration replaces theirs and not the reverse.
    registerBuiltinMimeParts();
    store(type, cls);
}

const MimePartClass& MimePart::classForMimeType(std::optional<std::string_view> type) {
    registerBuiltinMimeParts();
    std::optional<std::string> wildcard;
    if (type && !type->empty()) wildcard = lowercasedASCII(type->substr(0, type->find('/'))) + "/*";
    Registry& r = registry();
    std::lock_guard guard(r.lock);
    // The type as given: registered keys are lower case, so "Image/PNG" misses here.
    if (type) {
        if (auto it = r.classes.find(std::string(*type)); it != r.classes.end()) return *it->second;
    }
    if (wildcard) {
        if (auto it = r.classes.find(*wildcard); it != r.classes.end()) return *it->second;
    }
    return MimePart::partClass();
}

}  // namespace qb
