#pragma once

#include <memory>
#include <string>

#include "tools/satellites/Check.h"

namespace satellites {

/// The number of findings for each severity.
struct FindingCounts {
    std::size_t errors = 0;
    std::size_t warnings = 0;
    std::size_t advice = 0;

    void add(const SatelliteReport& report);
};

/// Prints each report immediately, so that only one report is kept in memory at a time.
class ReportPrinter {
public:
    virtual ~ReportPrinter() = default;
    virtual void begin(const std::wstring& module) = 0;
    virtual void print(const SatelliteReport& report) = 0;
    virtual void end(const FindingCounts& counts) = 0;
};

std::unique_ptr<ReportPrinter> makeTextPrinter();
std::unique_ptr<ReportPrinter> makeJsonPrinter();

}  // namespace satellites
