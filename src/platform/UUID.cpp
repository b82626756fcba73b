#include "platform/UUID.h"

#include <uuid/uuid.h>

namespace qb {

std::string newUUIDString() {
    uuid_t id;
    uuid_generate_random(id);
    char text[37];
    uuid_unparse_upper(id, text);
    return std::string(text, 36);
}

}  // namespace qb
