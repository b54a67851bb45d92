#pragma once
// directory/name as a NUL-terminated path for the system's file calls. The update thread opens or tests
// exchange files on every tick, so the usual case (a short ASCII name below a directory of up to a few
// thousand characters) is joined in fixed storage and allocates nothing; anything else goes through
// std::filesystem::path.

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string_view>

namespace korvath {

class JoinedPath {
public:
    using Char = std::filesystem::path::value_type;

    JoinedPath(const std::filesystem::path& directory, std::wstring_view name) noexcept;
    JoinedPath(const JoinedPath&) = delete;
    auto operator=(const JoinedPath&) -> JoinedPath& = delete;

    // Null when no path could be formed (a NUL in the name, or no memory for a long one).
    auto c_str() const noexcept -> const Char* {
        return inline_ ? buffer_ : fallback_ ? fallback_->c_str() : nullptr;
    }

private:
    static constexpr std::size_t kCapacity = 4096;

    Char buffer_[kCapacity];
    bool inline_ = false;
    std::optional<std::filesystem::path> fallback_;
};

} // namespace korvath
