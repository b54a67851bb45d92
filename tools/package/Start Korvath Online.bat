@echo off
rem Korvath Online: the relay between the two game copies on this PC, until this window is closed.
rem GAME_A and GAME_B are the two game folders, each the one holding the game's executable
rem (...\Binaries\Win64). korvath-session setup fills them in; you may also write them here by hand.
set "GAME_A="
set "GAME_B="
cd /d "%~dp0"
if "%GAME_A%"=="" goto unset
if "%GAME_B%"=="" goto unset
korvath-session.exe doctor "%GAME_A%" "%GAME_B%"
korvath-session.exe relay "%GAME_A%" "%GAME_B%"
pause
exit /b
:unset
echo Run korvath-session setup with your two game folders first (see INSTALL.md),
echo or write them into this file, in the lines set "GAME_A=..." and set "GAME_B=...".
pause
