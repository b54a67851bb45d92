#pragma once

#include <cstdint>

namespace RC::Unreal {

// The running engine's version, filled by the host before any mod is loaded.
class Version {
public:
    static int32_t Major;
    static int32_t Minor;

    [[nodiscard]] static auto IsAtLeast(int32_t major_p, int32_t minor_p) -> bool {
        return Major > major_p || (Major == major_p && Minor >= minor_p);
    }
    [[nodiscard]] static auto IsBelow(int32_t major_p, int32_t minor_p) -> bool {
        return Major < major_p || (Major == major_p && Minor < minor_p);
    }
};

} // namespace RC::Unreal
