#!/usr/bin/env bash
# Syntax-only compile of every source of the real-host DLL against a UE4SS source tree, with clang for
# 64-bit Windows (MinGW-w64 headers, C++23, Microsoft extensions) in the host's Game__Shipping__Win64
# configuration. MSVC cannot run here; this shows that our code names the host's API as it is.
#
# Each error counts where clang locates it: in our code (the repository), or elsewhere (the host's
# headers, the system's, the stand-ins in tools/check-real-host/ for what this machine lacks). An error
# elsewhere means the stand-ins miss something, and the verdict on our code is incomplete.
#
# Exit status: 0 no error; 1 errors in our code only; 3 errors elsewhere, with or without ours;
# 2 bad argument, or the compiler or the MinGW-w64 headers missing.
set -uo pipefail

usage() {
    echo "usage: $0 HOST_SOURCE_DIR" >&2
    echo "  HOST_SOURCE_DIR: a UE4SS source tree with its Unreal headers (UE4SS/include, deps/first/Unreal)" >&2
    echo "  environment: CLANGXX (default clang++), JOBS (default 2), MINGW_ROOT (default /usr/x86_64-w64-mingw32)" >&2
    exit 2
}

[ $# -eq 1 ] || usage
case "$1" in -h | --help) usage ;; esac
[ -d "$1" ] || { echo "error: $1 is not a folder" >&2; usage; }
host=$(cd "$1" && pwd -P)
[ -f "$host/UE4SS/include/Mod/CppUserModBase.hpp" ] ||
    { echo "error: $host is not a UE4SS source tree (no UE4SS/include/Mod/CppUserModBase.hpp)" >&2; usage; }
[ -d "$host/deps/first/Unreal/include/Unreal" ] || {
    echo "error: $host lacks the host's Unreal headers (deps/first/Unreal/include/Unreal, a private" >&2
    echo "  submodule upstream); use a tree that includes them" >&2
    exit 2
}

repo=$(cd "$(dirname "$0")/.." && pwd -P)
shims="$repo/tools/check-real-host"
jobs=${JOBS:-2}
[[ "$jobs" =~ ^[1-9][0-9]*$ ]] || { echo "error: JOBS must be a positive number, not '$jobs'" >&2; usage; }

clangxx=${CLANGXX:-clang++}
command -v "$clangxx" >/dev/null || { echo "error: $clangxx not found; install clang (tools/install-deps.sh)" >&2; exit 2; }
resource=$("$clangxx" -print-resource-dir)

# The MinGW-w64 C and C++ headers (Debian's mingw-w64 and g++-mingw-w64-x86-64-posix). Clang does not
# find the C++ ones itself: Debian names GCC's folder 12-posix, which clang does not read as a version.
# The posix thread model: the win32 one lacks std::mutex.
mingw=${MINGW_ROOT:-/usr/x86_64-w64-mingw32}
gcc_dir=$(find /usr/lib/gcc/x86_64-w64-mingw32 -mindepth 1 -maxdepth 1 -name '*-posix' 2>/dev/null | sort -V | tail -1)
cxx_headers="$gcc_dir/include/c++"
if [ ! -f "$mingw/include/windows.h" ] || [ -z "$gcc_dir" ] || [ ! -f "$cxx_headers/string" ]; then
    echo "error: the MinGW-w64 headers are missing (windows.h under $mingw/include, the C++ library under" >&2
    echo "  /usr/lib/gcc/x86_64-w64-mingw32/*-posix/include/c++); install mingw-w64 and" >&2
    echo "  g++-mingw-w64-x86-64-posix (tools/install-deps.sh)" >&2
    exit 2
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The adapter of hook names, as host/ue4ss.cmake puts it on the path.
adapter="$repo/host/adapter"
[ -d "$adapter" ] || { echo "error: $adapter is missing" >&2; exit 2; }

# The host's include folders, as its CMake and xmake files give them to a mod linking UE4SS.
includes=("$repo" "$adapter" "$host/UE4SS/include")
for dir in "$host/UE4SS/generated_include" "$host"/deps/first/*/include "$host"/deps/first/*/generated_include \
    "$host/deps/first/Unreal/include/Unreal" "$host/deps/first/Unreal/include/Unreal/Core" \
    "$host/deps/first/Unreal/generated_include/Platform/Windows" "$host"/deps/third/*/include; do
    [ -d "$dir" ] && includes+=("$dir")
done

# Game__Shipping__Win64 as the host's build files define it for its targets and its mods, with the user
# interface and input of its default build. Not RC_*_EXPORTS nor RC_*_BUILD_STATIC: those are private
# to the host's own libraries, so a mod sees the API macros as imports.
version=$(grep -Eo '[0-9]+(\.[0-9]+){4}' "$host/UE4SS/generated_src/version.cache" 2>/dev/null || echo 0.0.0.0.0)
IFS=. read -r v_major v_minor v_hotfix v_prerelease v_beta <<<"$version"
defines=(UE_GAME UE_BUILD_SHIPPING PLATFORM_WINDOWS PLATFORM_MICROSOFT OVERRIDE_PLATFORM_HEADER_NAME=Windows
    UBT_COMPILED_PLATFORM=Win64 WIN32 _WIN64 UNICODE _UNICODE DLLEXT=.dll
    ZYDIS_STATIC_DEFINE ZYCORE_STATIC_DEFINE IS_TRACY=1 IS_SUPERLUMINAL=0
    HAS_UI HAS_GUI HAS_INPUT HAS_GLFW HAS_D3D11
    UE4SS_LIB_VERSION_MAJOR="$v_major" UE4SS_LIB_VERSION_MINOR="$v_minor" UE4SS_LIB_VERSION_HOTFIX="$v_hotfix"
    UE4SS_LIB_VERSION_PRERELEASE="$v_prerelease" UE4SS_LIB_VERSION_BETA="$v_beta"
    UE4SS_LIB_BETA_STARTED=1 UE4SS_LIB_IS_BETA=1 'UE4SS_LIB_BUILD_GITSHA="0"'
    'UE4SS_CONFIGURATION="Game__Shipping__Win64"')
# Where the host declares the concept that UE_REQUIRES names (see prelude.hpp): outside RC::Unreal, the
# stand-ins declare it where the macro's uses look it up.
traits="$host/deps/first/Unreal/include/Unreal/Core/Templates/UnrealTypeTraits.hpp"
if [ -f "$traits" ] && awk '/namespace RC/ { exit 1 } /concept BoolIdentityConcept/ { found = 1; exit 0 }
    END { exit !found }' "$traits"; then
    defines+=(CHECK_REAL_HOST_UE_REQUIRES_CONCEPT)
fi

# Console formatting as CMakeLists.txt settles it: a tree that brings {fmt} (deps/third/fmt, current
# main) lends the mod its own, and the build machine's stands in while the tree has not fetched it. A
# tree without one (v3.x) formats with std::format, and so does the mod then (KORVATH_STD_FORMAT).
fmt_include=()
if [ -d "$host/deps/third/fmt" ]; then
    formatting="the host's {fmt}"
    if [ -f "$host/deps/third/fmt/include/fmt/format.h" ]; then
        fmt_include=(-I "$host/deps/third/fmt/include")
    elif [ -f /usr/include/fmt/format.h ]; then
        # The build machine's {fmt} alone, through a folder of one link, never all of /usr/include.
        formatting="the host's {fmt}, not fetched yet: the build machine's in its place"
        mkdir "$work/fmt-headers" && ln -s /usr/include/fmt "$work/fmt-headers/fmt"
        fmt_include=(-isystem "$work/fmt-headers")
        defines+=(FMT_HEADER_ONLY=1)
    else
        echo "error: $host brings {fmt} but has not fetched it, and /usr/include/fmt is missing (libfmt-dev)" >&2
        exit 2
    fi
else
    formatting="std::format (the host's tree has no {fmt})"
    defines+=(KORVATH_STD_FORMAT)
fi

# Template bodies are parsed when instantiated, as MSVC does: the host's headers hold templates that
# no build instantiates and that a stricter compiler rejects. The SDK's stand-ins come before MinGW's
# headers, the others after every real header, so a header that exists always wins.
flags=(--target=x86_64-w64-mingw32 -std=c++2b -fms-extensions -fdelayed-template-parsing -w
    -fno-color-diagnostics -fdiagnostics-absolute-paths -ferror-limit=0 -nostdinc
    -isystem "$cxx_headers" -isystem "$cxx_headers/x86_64-w64-mingw32" -isystem "$cxx_headers/backward"
    -isystem "$resource/include" -isystem "$shims/msvc-sdk" -isystem "$mingw/include")
for dir in "${includes[@]}"; do flags+=(-I "$dir"); done
flags+=("${fmt_include[@]}" -idirafter "$shims")
for define in "${defines[@]}"; do flags+=("-D$define"); done

# Every source of the real-host DLL: korvath_core's globs with the Windows files, the entry points and
# the Windows clock (see CMakeLists.txt).
cd "$repo" || exit 2
sources=()
for file in mod/*.cpp session/*.cpp exchange/*.cpp actions/*.cpp diagnostics/*.cpp host/*.cpp; do
    case "$file" in *_posix.cpp) continue ;; esac
    [ -f "$file" ] && sources+=("$file")
done
[ ${#sources[@]} -gt 0 ] || { echo "error: no sources found under $repo" >&2; exit 2; }

echo "Host: $host"
echo "Adapter: ${adapter#"$repo"/}"
echo "Console formatting: $formatting"
SECONDS=0

# The prelude (every standard header among others) is parsed once, into a precompiled header. Should
# that fail, each file includes it instead and shows the failure as its own.
logs="$work/logs"
mkdir -p "$logs"
if timeout 300 "$clangxx" "${flags[@]}" -x c++-header "$shims/prelude.hpp" -o "$work/prelude.pch" \
    >"$logs/prelude.log" 2>&1; then
    flags+=(-include-pch "$work/prelude.pch")
else
    echo "The prelude does not precompile; each file includes it"
    flags+=(-include "$shims/prelude.hpp")
fi
flags+=(-fsyntax-only)

echo "Compiling ${#sources[@]} files, $jobs at a time"
printf '%s\0' "${flags[@]}" >"$work/flags"
export CHECK_CLANGXX="$clangxx" CHECK_FLAGS="$work/flags" CHECK_LOGS="$logs"
# shellcheck disable=SC2016 # expanded by the shell that xargs starts
printf '%s\0' "${sources[@]}" | xargs -0 -n1 -P"$jobs" bash -c '
    flags=()
    while IFS= read -r -d "" flag; do flags+=("$flag"); done <"$CHECK_FLAGS"
    log="$CHECK_LOGS/${1//\//_}.log"
    timeout 300 "$CHECK_CLANGXX" "${flags[@]}" "$1" >"$log" 2>&1
    echo $? >"$log.rc"' _

ours=0 host_errors=0 other=0 failed_files=0
for file in "${sources[@]}"; do
    log="$logs/${file//\//_}.log"
    rc=$(cat "$log.rc" 2>/dev/null || echo 1)
    # Errors as clang locates them: "path:line:column: error: ..." (or "fatal error"), the path absolute.
    mapfile -t errors < <(grep -E '^[^ ].*:[0-9]+:[0-9]+: (fatal )?error: ' "$log")
    file_ours=0 file_host=0 file_other=0
    for line in "${errors[@]}"; do
        path=${line%%:[0-9]*}
        case "$path" in
        "$shims"/*) file_other=$((file_other + 1)) ;;
        "$repo"/*) file_ours=$((file_ours + 1)) ;;
        "$host"/*) file_host=$((file_host + 1)) ;;
        *) file_other=$((file_other + 1)) ;;
        esac
    done
    # The compiler failed without a located error (a crash, the time limit): an error elsewhere.
    [ "$rc" -ne 0 ] && [ ${#errors[@]} -eq 0 ] && file_other=1
    ours=$((ours + file_ours))
    host_errors=$((host_errors + file_host))
    other=$((other + file_other))
    if [ $((file_ours + file_host + file_other)) -eq 0 ]; then
        echo "ok    $file"
    else
        failed_files=$((failed_files + 1))
        echo "FAIL  $file: $file_ours in our code, $file_host in the host's headers, $file_other elsewhere"
        lines=$(wc -l <"$log")
        head -n 200 "$log" | sed 's/^/      /'
        [ "$lines" -gt 200 ] && echo "      ... $((lines - 200)) more lines"
    fi
done

echo
echo "Files compiled: ${#sources[@]} in ${SECONDS} s; with errors: $failed_files"
echo "Errors in our code: $ours; in the host's headers: $host_errors; elsewhere (system, stand-ins): $other"
if [ $((host_errors + other)) -gt 0 ]; then
    echo "INCOMPLETE: errors outside our code remain; the stand-ins in tools/check-real-host/ miss something"
    exit 3
fi
[ "$ours" -eq 0 ] || exit 1
echo "OK: our code compiles against $host"
