#pragma once
// Stands for <Windows.h> as Windows' case-insensitive file system finds it: MinGW names it windows.h.

#include <windows.h>
