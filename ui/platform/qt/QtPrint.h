// What the library that prints gives to the program that opens it. Both are built together.
#pragma once

#include <atomic>
#include <functional>
#include <vector>

#include "ui/LxBackend.h"

class QWidget;

namespace Lx {

// The program's event loop, until it is true or the program ends.
using PrintWait = std::function<void(std::atomic<bool>& done)>;

// RunPlatformPrintDialog above `window`, which may be null. The caller owns the job.
using PrintEntry = IPrintJob* (*)(const PrintRequest& request, QWidget* window, const PrintWait& wait);
constexpr const char* kPrintEntry = "VelmoraImprimir";

// A job into a PDF file, without a dialog.
using PrintFileEntry = IPrintJob* (*)(const char* path, bool fitted, const std::vector<int>& pages);
constexpr const char* kPrintFileEntry = "VelmoraImprimirEnFichero";

}  // namespace Lx
