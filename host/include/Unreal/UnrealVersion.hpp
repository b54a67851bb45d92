#pragma once

#include <cstdint>

namespace RC::Unreal {

// The running engine's version, filled by the host before any mod is loaded.
class Version {
public:
    static int32_t Major;
    static int32_t Minor;
};

} // namespace RC::Unreal
