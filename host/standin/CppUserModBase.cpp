#include "Mod/CppUserModBase.hpp"

namespace RC {

CppUserModBase::CppUserModBase()
    : ModIntendedSDKVersion(L"3.0") {}

CppUserModBase::~CppUserModBase() = default;

} // namespace RC
