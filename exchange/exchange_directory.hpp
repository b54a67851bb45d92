#pragma once
// The exchange directory: "KorvathOnline" in the folder of the game's executable. Set once by the
// mod's constructor, read-only afterwards (so any thread may read it without a lock).

#include <filesystem>
#include <string_view>

namespace korvath {

extern std::filesystem::path exchangeDirectory;

// The folder of the running executable or, failing that, the current working directory; an empty
// (relative) path when neither can be had, so the exchange directory is then relative.
auto resolve_base_directory() -> std::filesystem::path;

// exchangeDirectory joined with a bare file name.
auto exchange_path(std::wstring_view name) -> std::filesystem::path;

} // namespace korvath
