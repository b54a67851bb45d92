#include "exchange/joined_path.hpp"

#include <algorithm>
#include <cstdint>

namespace korvath {

namespace {

#ifdef _WIN32
constexpr JoinedPath::Char kSeparator = L'\\';
#else
constexpr JoinedPath::Char kSeparator = '/';
#endif

auto is_separator(JoinedPath::Char c) -> bool {
    return c == kSeparator || c == '/';
}

} // namespace

JoinedPath::JoinedPath(const std::filesystem::path& directory, std::wstring_view name) noexcept {
    const auto& dir = directory.native();
    const bool needsSeparator = !dir.empty() && !is_separator(dir.back());
    if (dir.size() + (needsSeparator ? 1 : 0) + name.size() < kCapacity) {
        Char* end = std::copy(dir.begin(), dir.end(), buffer_);
        if (needsSeparator)
            *end++ = kSeparator;
        // One pass copies the name and checks that it is ASCII without a NUL.
        bool plain = true;
        for (const wchar_t c : name) {
            plain &= static_cast<uint32_t>(c) - 1 < 0x7f;
            *end++ = static_cast<Char>(c);
        }
        *end = Char{};
        inline_ = plain;
        if (plain)
            return;
    }
    if (name.find(L'\0') != std::wstring_view::npos)
        return;
    // Outside ASCII the path's own conversion is needed.
    try {
        fallback_.emplace(directory / std::filesystem::path(name));
    } catch (...) {
    }
}

} // namespace korvath
