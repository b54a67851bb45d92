#pragma once
// Stands for Dear ImGui's imgui.h, which the host fetches when it builds: the types its headers name.

struct ImColor {};
struct ImGuiContext;
struct ImGuiSettingsHandler;
struct ImGuiTextBuffer;
struct ImGuiTextFilter {};
