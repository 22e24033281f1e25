// This file is compiled as C++14. The compilation must fail, because the headers need C++17.
#include <I18nResource.h>

int main() {}
