// Makes each allocation in every function of i18nsys fail once. After a failed allocation, the
// function must throw or report the failure as described in docs/failures.md, and leak no block.
// After each failure, the same call must succeed if no allocation fails.
#include <windows.h>

#include <doctest/doctest.h>

#include "i18nsys/i18nsys.h"
#include "tests/support/Apartment.h"
#include "tests/support/FailingMemory.h"

namespace {

using namespace testsupport;

TEST_CASE("Conversions of culture tags succeed or report that memory ran out") {
    const Apartment apartment;  // keeps the multi-language service loaded
    wchar_t tag[16];
    everyAllocationFails({
        {"getLcidFromRfc1766", kThrowsComError | kReturnsNoMemory,
         [] {
             unsigned long lcid = 0;
             return static_cast<HRESULT>(i18nsys::getLcidFromRfc1766(L"en-US", lcid));
         }},
        {"isRfc1766StringValid", kThrowsComError | kReturnsFailure,
         [] { return failureUnless(i18nsys::isRfc1766StringValid(L"en-US")); }},
        {"isRfc1766NeutralLanguage", kThrowsComError | kReturnsFailure,
         [] { return failureUnless(i18nsys::isRfc1766NeutralLanguage(L"en")); }},
        {"getRfc1766FromLcid", kReturnsNoMemory,
         [&] { return static_cast<HRESULT>(i18nsys::getRfc1766FromLcid(0x0809, tag, 16)); }},
    });
}

TEST_CASE("Settings are read without allocating memory") {
    wchar_t text[256];
    wchar_t tag[] = L"EN-us";
    unsigned long count = 0;
    everyAllocationFails({
        {"getSystemCulture", 0,
         [&] { return failureUnless(i18nsys::getSystemCulture(text, 256)); }},
        {"getUserCulture", 0, [&] { return failureUnless(i18nsys::getUserCulture(text, 256)); }},
        {"getSystemLanguage", 0,
         [&] { return failureUnless(i18nsys::getSystemLanguage(text, 256)); }},
        {"getUserLanguage", 0, [&] { return failureUnless(i18nsys::getUserLanguage(text, 256)); }},
        {"GetTimeZoneID", 0,
         [&] { return failureUnless(i18nsys::GetTimeZoneID(text, 256) != 0xFFFFFFFF); }},
        {"normalizeCulture", 0,
         [&] { return static_cast<HRESULT>(i18nsys::normalizeCulture(tag)); }},
        {"mapRfc1766ToLocalWritingSystem", 0,
         [&] {
             return failureUnless(i18nsys::mapRfc1766ToLocalWritingSystem(L"ja-JP", text, 256));
         }},
        {"setPreferredUILanguages", 0,
         [&] { return failureUnless(i18nsys::setPreferredUILanguages(8, L"en-US\0", &count)); }},
    });
}

}  // namespace
