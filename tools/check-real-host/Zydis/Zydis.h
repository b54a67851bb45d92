#pragma once
// Stands for the Zydis disassembler's header, which the host fetches as it builds: the types it names.

struct ZydisDecodedInstruction {};
struct ZydisDecodedOperand {};
