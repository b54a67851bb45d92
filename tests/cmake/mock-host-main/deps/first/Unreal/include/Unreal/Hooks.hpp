// Stands for the host's Hooks.hpp of current main: only the name the build looks for.
struct FCallbackOptions;
