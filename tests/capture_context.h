// A bare context whose output is captured into a string.
#pragma once

#include "capture.h"

struct CaptureContext {
  int err = 0;
  MXL_context *ctx = mxl_new_basic(nullptr, nullptr, nullptr, &err);
  PrintCapture cap{ctx};
  CaptureContext() = default;
  CaptureContext(const CaptureContext &) = delete;
  ~CaptureContext() { mxl_destroy(ctx); }
  std::string take() { return cap.take(); }
};
