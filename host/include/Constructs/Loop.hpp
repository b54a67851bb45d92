#pragma once

namespace RC {

enum class LoopAction {
    Continue,
    Break,
};

} // namespace RC
