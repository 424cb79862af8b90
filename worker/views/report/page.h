#pragma once

#include "worker/views/report/report_data.h"

#include <string>

namespace corrivane::worker {

/// A page of HTML that holds all it needs: styles, the chart and the pictures. It runs no script, and forbids the
/// browser to load anything. Made for light and dark, for a desktop and for a phone.
std::string report_page(const ReportData& data);

}  // namespace corrivane::worker
