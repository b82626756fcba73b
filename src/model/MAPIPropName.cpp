#include "model/MAPIPropName.h"

#include <fmt/format.h>

namespace qb {

std::string formatGUID(const Bytes& g) {
    if (g.size() != 16) return fmt::format("<{} bytes>", g.size());
    return fmt::format(
        "{{{:02X}{:02X}{:02X}{:02X}-{:02X}{:02X}-{:02X}{:02X}-{:02X}{:02X}-"
        "{:02X}{:02X}{:02X}{:02X}{:02X}{:02X}}}",
        g[3], g[2], g[1], g[0], g[5], g[4], g[7], g[6], g[8], g[9], g[10], g[11], g[12], g[13],
        g[14], g[15]);
}

std::string MAPIPropName::description() const {
    std::string out = "{GUID = ";
    out += guid_ ? formatGUID(*guid_) : "(null)";
    out += fmt::format(", propID = 0x{:04X}", propID_);
    if (name_) out += ", name = " + *name_;
    out += "}";
    return out;
}

}  // namespace qb
