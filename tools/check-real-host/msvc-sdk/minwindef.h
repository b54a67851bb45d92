#pragma once
// Stands for the Windows SDK's minwindef.h: the SDK defines min and max in C++ too, unless NOMINMAX.

#include_next <minwindef.h>

#ifndef NOMINMAX
#ifndef max
#define max(a, b) (((a) > (b)) ? (a) : (b))
#endif
#ifndef min
#define min(a, b) (((a) < (b)) ? (a) : (b))
#endif
#endif
