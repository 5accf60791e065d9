#pragma once
/// Plots, drawn with Cairo where the program was built with it.

#include <filesystem>
#include <string>

#include "catalogue/analysis.h"

namespace rasterkit::tools {

/// Counts, smoothed curve, maxima, minima and peaks of a histogram, with axes, as .svg or .png. Throws Failure.
void plotHistogram(const catalogue::HistogramFindings& found, const std::string& title,
                   const std::filesystem::path& path);

}  // namespace rasterkit::tools
