#include "actions/engine_vector.hpp"

#include "Unreal/UnrealVersion.hpp"

#include <cstring>

namespace korvath {

using RC::Unreal::FVector;
using RC::Unreal::Version;

auto engine_uses_double_vectors() -> bool {
    return Version::Major > 5 || (Version::Major == 5 && Version::Minor >= 0);
}

auto make_engine_vector(double x, double y, double z) -> FVector {
    FVector vector;
    std::memset(vector.Data, 0, sizeof vector.Data);
    if (engine_uses_double_vectors()) {
        const double components[3] = {x, y, z};
        std::memcpy(vector.Data, components, sizeof components);
    } else {
        // Rounded to the nearest float; the last twelve bytes stay zero.
        const float components[3] = {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
        std::memcpy(vector.Data, components, sizeof components);
    }
    return vector;
}

auto read_engine_vector(const FVector& vector) -> std::array<double, 3> {
    if (engine_uses_double_vectors()) {
        std::array<double, 3> components{};
        std::memcpy(components.data(), vector.Data, sizeof(double) * components.size());
        return components;
    }
    float components[3];
    std::memcpy(components, vector.Data, sizeof components);
    return {static_cast<double>(components[0]), static_cast<double>(components[1]),
            static_cast<double>(components[2])};
}

} // namespace korvath
