#include "Clock.hpp"

namespace standin {

auto Clock::instance() -> Clock& {
    static Clock clock;
    return clock;
}

} // namespace standin
