#pragma once

namespace korvath {

// DestroyProxy: destroys the proxy and records `reason` in cpp_phase5g_destroy.txt. Game thread only.
auto destroy_proxy(const char* reason) -> void;

} // namespace korvath
