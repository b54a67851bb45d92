#pragma once
// The mod's base class with the stand-in host: its hooks already carry the mod's names.

#include "Mod/CppUserModBase.hpp"

namespace korvath {

using ModBase = RC::CppUserModBase;

} // namespace korvath
