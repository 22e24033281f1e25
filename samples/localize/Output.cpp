#include "samples/localize/Output.h"

#include "samples/exchange/Console.h"

void print(const std::wstring& text) { print(stdout, text); }

void printError(const std::wstring& message) { print(stderr, L"localize: " + message + L"\n"); }
