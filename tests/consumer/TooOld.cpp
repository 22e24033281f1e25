// Is compiled as C++14, which the headers refuse.
#include <I18nResource.h>

int main() {}
