// SPDX-License-Identifier: Apache-2.0
// The description the dump command and attribute descriptions print.
#include "tnef/TNEFAttachmentRendData.h"

#include <fmt/format.h>

namespace qb {

std::string TNEFAttachmentRendData::description() const {
    return fmt::format("{{type = {}, position = {}, width = {}, height = {}, flags = {}}}", type,
                       position, width, height, flags);
}

}  // namespace qb
