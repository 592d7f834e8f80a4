#include "tools/report_collector.h"

#include "include/zelmessage.h"

namespace zel::tools {

namespace {

constexpr std::size_t kMostReports = 16;

}  // namespace

ReportCollector::ReportCollector() {
    ZELSetErrorSink(Collect, this);
}

ReportCollector::~ReportCollector() {
    ZELSetErrorSink(nullptr, nullptr);
}

void ReportCollector::Collect(int code, const char* text, void* context) {
    auto& reports = static_cast<ReportCollector*>(context)->reports_;
    if (reports.size() < kMostReports) {
        reports.push_back({code, text});
    }
}

}  // namespace zel::tools
