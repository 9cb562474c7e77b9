// GDAL driver for TAVO surveys. GDAL calls the function when it loads ogr_TAVO.so; a program that
// links the driver calls it itself, any number of times.
#pragma once

extern "C" __attribute__((visibility("default"))) void RegisterOGRTAVO();
