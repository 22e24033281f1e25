#!/usr/bin/env bash
# Parses the sources and every public header as Visual C++ reads them, warnings as errors: the
# Microsoft dialect and ABI, LLP64 types, __uuidof, the templates of the secure C runtime. There is no
# Microsoft SDK here: clang stands in for the compiler, libc++ for the standard library, Wine's
# headers for Windows and the C runtime, MinGW's comdef.h for COM support. Only declarations and
# expressions are checked; nothing is linked.
#
#   check-msvc-dialect.sh INCLUDE-FOLDER       of an installed package
set -euo pipefail
include=$(readlink -f "${1:?usage: check-msvc-dialect.sh INCLUDE-FOLDER}")
cd "$(dirname "$0")/.."

version=${CLANG_VERSION:-22}
llvm=/usr/lib/llvm-$version
wine=/usr/include/wine/wine
mingw=/usr/share/mingw-w64/include
overlay=$(mktemp -d)
trap 'rm -rf "$overlay"' EXIT

# Where Wine's headers know clang only as a Unix compiler, and what they lack.
sed 's/#if defined(_MSC_VER) && !defined(__clang__)/#if defined(_MSC_VER)/' \
    "$wine/windows/winnt.h" >"$overlay/winnt.h"
sed -e 's/^#define DECLSPEC_UUID(x)$/#undef DECLSPEC_UUID\n#define DECLSPEC_UUID(x) __declspec(uuid(x))/' \
    -e 's/^#define MIDL_INTERFACE(x)   struct$/#define MIDL_INTERFACE(x) struct __declspec(uuid(x)) __declspec(novtable)/' \
    "$wine/windows/rpcndr.h" >"$overlay/rpcndr.h"
cp "$mingw"/{comdef.h,comdefsp.h,comip.h,comutil.h} "$overlay/"
echo '#include <new>' >"$overlay/new.h"
cat >"$overlay/_mingw.h" <<'HEADER'
#pragma once
#define __LONG32 long
#define __MINGW_EXTENSION
#define __MSABI_LONG(x) x##l
#define __MINGW_SELECTANY __declspec(selectany)
HEADER
cat >"$overlay/msvc_compat.h" <<'HEADER'
#pragma once
#pragma clang system_header
#include <stdarg.h>
#include <stddef.h>
struct timespec { long long tv_sec; long tv_nsec; };
#include <locale.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>
extern "C" float __cdecl _strtof_l(const char*, char**, _locale_t);
extern "C" double __cdecl _strtod_l(const char*, char**, _locale_t);
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
HEADER

parser=("clang++-$version" --target=x86_64-pc-windows-msvc -fms-compatibility-version=19.38
    -fsyntax-only -nostdinc -isystem "$overlay" -isystem "$llvm/include/c++/v1"
    -isystem "$llvm/lib/clang/$version/include" -isystem "$wine/msvcrt" -isystem "$wine/windows"
    -D_LIBCPP_NO_VCRUNTIME -DWINE_UNICODE_NATIVE
    -D__ISAXXMLFilter_INTERFACE_DEFINED__ -D__ISAXXMLFilter_FWD_DEFINED__
    -include "$overlay/msvc_compat.h" -Wall -Wextra -Wmicrosoft -Wgnu -Werror)
# As cmake/InternalSettings.cmake sets them.
internal=(-std=c++20 -I. -DUNICODE -D_UNICODE -DNOMINMAX -DWIN32_LEAN_AND_MEAN
    -D_WIN32_WINNT=0x0601 -DWINVER=0x0601 -DI18NRESOURCE_BUILDING)

# Microsoft's uuid.lib is certain to contain these; the sources define every other id themselves.
known='IID_(IUnknown|IDispatch|IClassFactory|IDataObject|IEnumFORMATETC|IGlobalInterfaceTable|IPersist|IPersistStream|IPersistStreamInit|ISequentialStream|IStream)|CLSID_(NULL|StdGlobalInterfaceTable)'
if git grep -nEow '(IID|CLSID)_[A-Za-z0-9]+' -- '*.cpp' '*.h' | grep -vE ":($known)\$"; then
    echo "ids that a uuid library need not contain" >&2
    exit 1
fi

sources=$(git ls-files '*.cpp' | grep -vE '^(tests|fuzzing|benchmarks)/')
headers=$(cd "$include" && find . -name '*.h' -printf '%P\n' | sort)
status=0
printf '%s\n' $sources | xargs -P "$(nproc)" -n 1 "${parser[@]}" "${internal[@]}" || status=1
for header in $headers; do
    # In a file of its own folder, so that the header and what it includes come from the package.
    echo "#include \"$header\"" >"$overlay/alone.cpp"
    "${parser[@]}" -std=c++17 -I"$include" "$overlay/alone.cpp" ||
        { echo "$header does not parse alone" >&2; status=1; }
done
echo "$(wc -w <<<"$sources") sources, $(wc -w <<<"$headers") public headers in the Microsoft dialect:" \
    "$([ $status -eq 0 ] && echo ok || echo FAILED)"
exit $status
