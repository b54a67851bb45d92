#pragma once
// Stands for ImGuiColorTextEdit's TextEditor.h, which the host fetches when it builds: what its headers call.

struct ImGuiTextFilter;

class TextEditor {
public:
    struct Breakpoints {};
    struct LanguageDefinition {};
    struct Palette {};

    void SetConsoleMode(bool enabled);
    void SetColorizerEnable(bool enabled);
    void SetLanguageDefinition(const LanguageDefinition& definition);
    void SetPalette(const Palette& palette);
    void SetBreakpoints(const Breakpoints& breakpoints);
    void SetTextFilter(ImGuiTextFilter* filter);
};
