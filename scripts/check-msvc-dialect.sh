#!/usr/bin/env bash
# Parses all sources and public headers as Visual C++ would, as far as possible, and treats warnings
# as errors. Checks the Microsoft dialect and ABI, LLP64 types, __uuidof, the templates of the
# secure C runtime, and the use of C runtime functions that Visual C++ reports as deprecated. The
# Microsoft SDK is not needed. The script uses clang as the compiler, libc++ as the standard
# library, Wine's headers for Windows and the C runtime, and MinGW's comdef.h for COM support. Only
# declarations and expressions are checked. Nothing is linked.
#
#   check-msvc-dialect.sh [INCLUDE-FOLDER [FILE...]]
#
# INCLUDE-FOLDER is the include folder of an installed package. If it is omitted, the library is
# built and installed first. If FILEs are specified, only these sources are parsed.
set -euo pipefail
cd "$(dirname "$0")/.."
include=$(scripts/public-headers.sh "${1:-}")
shift $(($# > 0))
sources=("$@")
[ ${#sources[@]} -gt 0 ] || mapfile -t sources < <(git ls-files '*.cpp')

version=${CLANG_VERSION:-22}
llvm=/usr/lib/llvm-$version
wine=/usr/include/wine/wine
mingw=/usr/share/mingw-w64/include
overlay=$(mktemp -d)
trap 'rm -rf "$overlay"' EXIT

# Corrects Wine's headers where they treat clang as a Unix compiler or lack a declaration.
sed -e 's/#if defined(_MSC_VER) && !defined(__clang__)/#if defined(_MSC_VER)/' \
    -e 's/^\(#define MAKELCID(l, s)\).*/\1 ((DWORD)MAKELONG(l, s))/' \
    "$wine/windows/winnt.h" >"$overlay/winnt.h"
sed -e 's/^#define DECLSPEC_UUID(x)$/#undef DECLSPEC_UUID\n#define DECLSPEC_UUID(x) __declspec(uuid(x))/' \
    -e 's/^#define MIDL_INTERFACE(x)   struct$/#define MIDL_INTERFACE(x) struct __declspec(uuid(x)) __declspec(novtable)/' \
    "$wine/windows/rpcndr.h" >"$overlay/rpcndr.h"
cat >"$overlay/winbase.h" <<'HEADER'
#include_next <winbase.h>
#pragma once
extern "C" {
WINBASEAPI BOOL WINAPI GetProcessHandleCount(HANDLE, PDWORD);
WINBASEAPI BOOL WINAPI SetThreadStackGuarantee(PULONG);
NTSYSAPI WORD NTAPI RtlCaptureStackBackTrace(DWORD, DWORD, PVOID*, PDWORD);
}
HEADER
cp "$mingw"/{comdef.h,comdefsp.h,comip.h,comutil.h} "$overlay/"
echo '#include <new>' >"$overlay/new.h"
cat >"$overlay/_mingw.h" <<'HEADER'
#pragma once
#define __LONG32 long
#define __MINGW_EXTENSION
#define __MSABI_LONG(x) x##l
#define __MINGW_SELECTANY __declspec(selectany)
HEADER
mkdir "$overlay/doctest"
cat >"$overlay/doctest/doctest.h" <<'HEADER'
#include <crtdbg.h>
#include </usr/include/doctest/doctest.h>
HEADER
cat >"$overlay/crtdbg.h" <<'HEADER'
#include_next <crtdbg.h>
#pragma once
typedef void* _HFILE;
#define _CRTDBG_MODE_FILE 1
#define _CRTDBG_MODE_DEBUG 2
#define _CRTDBG_FILE_STDERR ((_HFILE)(intptr_t)-5)
extern "C" _HFILE __cdecl _CrtSetReportFile(int, _HFILE);
HEADER
cat >"$overlay/msvc_compat.h" <<'HEADER'
#pragma once
#pragma clang system_header
#include <stdarg.h>
#include <stddef.h>
struct timespec { long long tv_sec; long tv_nsec; };
#include <io.h>
#include <locale.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <wchar.h>
#include <process.h>
extern "C" {
float __cdecl _strtof_l(const char*, char**, _locale_t);
double __cdecl _strtod_l(const char*, char**, _locale_t);
errno_t __cdecl gmtime_s(tm*, const time_t*);
unsigned __cdecl _set_abort_behavior(unsigned, unsigned);
}
#define SECURE_TEMPLATES(ch, cpy, cat, print, vprint) \
  template <size_t n> inline errno_t cpy(ch (&d)[n], const ch* s) { return cpy(d, n, s); } \
  template <size_t n> inline errno_t cat(ch (&d)[n], const ch* s) { return cat(d, n, s); } \
  template <size_t n> inline int vprint(ch (&d)[n], const ch* f, va_list a) { return vprint(d, n, f, a); } \
  template <size_t n> inline int print(ch (&d)[n], const ch* f, ...) { \
    va_list a; va_start(a, f); int r = vprint(d, n, f, a); va_end(a); return r; }
SECURE_TEMPLATES(wchar_t, wcscpy_s, wcscat_s, swprintf_s, vswprintf_s)
SECURE_TEMPLATES(char, strcpy_s, strcat_s, sprintf_s, vsprintf_s)
#undef isinf
#undef isnan
#undef isfinite
#undef isnormal
#undef signbit
#define CLASSIFY(name) \
  inline bool name(float x) { return __builtin_##name(x); } \
  inline bool name(double x) { return __builtin_##name(x); } \
  inline bool name(long double x) { return __builtin_##name(x); }
CLASSIFY(isinf) CLASSIFY(isnan) CLASSIFY(isfinite) CLASSIFY(isnormal) CLASSIFY(signbit)
#define C4996(name) extern "C" __attribute__((deprecated("C4996"))) decltype(::name) name;
C4996(fopen) C4996(_wfopen) C4996(freopen) C4996(_wfreopen) C4996(tmpnam) C4996(_open) C4996(_wopen)
C4996(strcpy) C4996(strncpy) C4996(strcat) C4996(strncat) C4996(strtok) C4996(strerror)
C4996(wcscpy) C4996(wcsncpy) C4996(wcscat) C4996(wcsncat) C4996(_snwprintf)
C4996(sprintf) C4996(vsprintf) C4996(sscanf) C4996(swscanf) C4996(_itow) C4996(_ultow)
C4996(getenv) C4996(_wgetenv) C4996(mbstowcs) C4996(wcstombs) C4996(wctomb)
C4996(_splitpath) C4996(_wsplitpath) C4996(_wmakepath) C4996(_wcslwr) C4996(_wcsupr)
C4996(asctime) C4996(ctime) C4996(gmtime) C4996(localtime)
C4996(isatty) C4996(unlink) C4996(getpid) C4996(fileno) C4996(strdup) C4996(wcsdup)
HEADER

# The following warnings correspond to /W4.
warnings=(-Wall -Wextra -Wmicrosoft -Wgnu -Wconversion -Wsign-compare -Wsign-conversion -Wshadow-all
    -Wconditional-uninitialized -Wunreachable-code-aggressive -Wdeprecated -Werror
    -Wno-shadow-uncaptured-local) # [text = std::move(text)] is intended
parser=("clang++-$version" --target=x86_64-pc-windows-msvc -fms-compatibility-version=19.38
    -fsyntax-only -nostdinc -isystem "$overlay" -isystem "$llvm/include/c++/v1"
    -isystem "$llvm/lib/clang/$version/include" -isystem "$wine/msvcrt" -isystem "$wine/windows"
    -D_LIBCPP_NO_VCRUNTIME -DWINE_UNICODE_NATIVE
    -D__ISAXXMLFilter_INTERFACE_DEFINED__ -D__ISAXXMLFilter_FWD_DEFINED__
    -include "$overlay/msvc_compat.h" "${warnings[@]}")
# The following settings must match cmake/InternalSettings.cmake and the CMakeLists.txt files of the
# tests.
internal=(-std=c++20 -I. -DUNICODE -D_UNICODE -DNOMINMAX -DWIN32_LEAN_AND_MEAN
    -D_WIN32_WINNT=0x0601 -DWINVER=0x0601 '-DCLIPBOARD_FORMATS_PAGE=""')

# Microsoft's uuid.lib defines the following IIDs and CLSIDs. The sources must define all other IIDs
# and CLSIDs that they use.
known='IID_(IUnknown|IDispatch|IClassFactory|IDataObject|IEnumFORMATETC|IGlobalInterfaceTable|IPersist|IPersistStream|IPersistStreamInit|ISequentialStream|IStream)|CLSID_(NULL|StdGlobalInterfaceTable)'
if git grep -nEow '(IID|CLSID)_[A-Za-z0-9]+' -- '*.cpp' '*.h' | grep -vE ":($known)\$"; then
    echo "ids that a uuid library need not contain" >&2
    exit 1
fi

headers=$(cd "$include" && find . -name '*.h' -printf '%P\n' | sort)
status=0
parse() { xargs -r -P "$(nproc)" -n 1 "${parser[@]}" "${internal[@]}" "$@" || status=1; }
library='^(dll|platform|i18nstr|i18nsys|i18nres|clipboard|formats)/'
parse -DI18NRESOURCE_BUILDING < <(printf '%s\n' "${sources[@]}" | grep -E "$library")
parse < <(printf '%s\n' "${sources[@]}" | grep -vE "$library")
for header in $headers; do
    # The source file is outside the source folder, so that the header and all headers that it
    # includes are from the package.
    echo "#include \"$header\"" >"$overlay/alone.cpp"
    "${parser[@]}" -std=c++17 -I"$include" "$overlay/alone.cpp" ||
        { echo "$header does not parse alone" >&2; status=1; }
done
echo "${#sources[@]} sources, $(wc -w <<<"$headers") public headers in the Microsoft dialect:" \
    "$([ $status -eq 0 ] && echo ok || echo FAILED)"
exit $status
