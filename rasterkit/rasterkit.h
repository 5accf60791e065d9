#pragma once
/// Every public class of rasterkit.

#include <rasterkit/analysis/histogram.h>
#include <rasterkit/analysis/hough.h>
#include <rasterkit/analysis/peaks.h>
#include <rasterkit/analysis/shading.h>
#include <rasterkit/colour/colour.h>
#include <rasterkit/core/image.h>
#include <rasterkit/core/levels.h>
#include <rasterkit/core/manager.h>
#include <rasterkit/core/pixels.h>
#include <rasterkit/core/processing_base.h>
#include <rasterkit/geometry/bitmap.h>
#include <rasterkit/geometry/geometry.h>
#include <rasterkit/geometry/regions.h>
#include <rasterkit/neighbourhood/convolution.h>
#include <rasterkit/neighbourhood/edge_detection.h>
#include <rasterkit/neighbourhood/filter.h>
#include <rasterkit/neighbourhood/morphology.h>
#include <rasterkit/platform/desktop.h>
#include <rasterkit/platform/framework.h>
#include <rasterkit/point/arithmetic.h>
#include <rasterkit/point/averaging.h>
#include <rasterkit/point/lookup_tables.h>
#include <rasterkit/point/threshold.h>
#include <rasterkit/point/tone.h>
#include <rasterkit/version.h>
