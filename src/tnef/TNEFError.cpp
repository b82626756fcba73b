// SPDX-License-Identifier: Apache-2.0
// The user-facing texts for each code, looked up in the library's string table.
#include "tnef/TNEFError.h"

#include "platform/Localized.h"

namespace qb {

TNEFError makeTNEFError(TNEFErrorCode code) {
    const char* text = "";
    switch (code) {
        case kTNEFErrorUnrecognized:
            text = "It may be damaged or use a file format that Quillbox doesn't recognize.";
            break;
        case kTNEFErrorEmpty:
            // The placeholder stays: no file name is known here.
            text = "The file \"%@\" could not be opened because it is empty.";
            break;
        case kTNEFErrorTruncated:
            text = "The file ended unexpectedly.";
            break;
    }
    return TNEFError{kTNEFErrorDomain, code, localized(text)};
}

}  // namespace qb
