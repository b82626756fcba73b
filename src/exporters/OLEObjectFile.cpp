// SPDX-License-Identifier: Apache-2.0
// Tries the packaged file first, then a "Package" stream, then the storage itself written out
// as a compound file.
#include "exporters/OLEObjectFile.h"

#include "OXMSG/cfb/CFBEntry.h"
#include "OXMSG/cfb/CompoundFileCopy.h"
#include "formats/Ole10Native.h"
#include "model/MAPIArray.h"
#include "model/PropertyTags.h"

namespace qb {

std::optional<OLEObjectFile> fileOfOLEObject(const TNEFAttachment& attachment) {
    const MAPIData object = valueForProperty(attachment.mapiprops(), PR_ATTACH_DATA_OBJ);
    const auto* storage = std::get_if<std::shared_ptr<CFBEntry>>(&object);
    if (!storage || !*storage) return std::nullopt;
    const CFBEntry& entry = **storage;
    auto owner = attachment.message();
    const StringEncoding encoding = owner ? owner->encoding() : kWindowsCP1252Encoding;

    // The directory reader drops the name's leading control character.
    auto native = entry.entry("Ole10Native");
    if (!native) native = entry.entry("\x01Ole10Native");
    if (native) {
        if (auto bytes = native->data())
            if (auto package = readOle10Native(*bytes, encoding))
                return OLEObjectFile{package->data, packageFilename(*package)};
    }
    if (auto package = entry.entry("Package"); package && package->isDocumentEntry())
        if (auto bytes = package->data()) return OLEObjectFile{*bytes, {}};
    // A storage that is a compound file of its own can be written as it is; one inside a
    // .msg is written out anew, its CLSID the new file's.
    if (entry.path() == "/" || entry.path().empty())
        return OLEObjectFile{entry.storage().io().bytes(), {}};
    if (auto tree = copyOfStorage(entry))
        if (auto file = writeCompoundFile(*tree)) return OLEObjectFile{*file, {}};
    return std::nullopt;
}

}  // namespace qb
