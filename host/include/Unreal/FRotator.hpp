#pragma once
// An engine rotation in degrees: 24 bytes, floats before engine 5.0, doubles from 5.0 on. The
// constructor lays it out for the running engine version.

namespace RC::Unreal {

class FRotator {
public:
    FRotator();
    FRotator(double pitch, double yaw, double roll);

    auto GetPitch() const -> double;
    auto GetYaw() const -> double;
    auto GetRoll() const -> double;

private:
    alignas(8) unsigned char m_bytes[24]{};
};
static_assert(sizeof(FRotator) == 24);

} // namespace RC::Unreal
