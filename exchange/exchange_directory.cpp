#include "exchange/exchange_directory.hpp"

#include "exchange/platform.hpp"

namespace korvath {

std::filesystem::path exchangeDirectory;

auto resolve_base_directory() -> std::filesystem::path {
    if (auto executable = platform::executable_path())
        return platform::extended_length_path(executable->parent_path());
    std::error_code error;
    std::filesystem::path current = std::filesystem::current_path(error);
    return error ? std::filesystem::path() : platform::extended_length_path(std::move(current));
}

auto exchange_path(std::wstring_view name) -> std::filesystem::path {
    return exchangeDirectory / std::filesystem::path(name);
}

} // namespace korvath
