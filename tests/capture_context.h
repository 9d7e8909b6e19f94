// A bare context whose output is captured into a string.
#pragma once

#include <string>

#include "interface/context.h"

struct CaptureContext {
  MXL_context *ctx = nullptr;
  std::string out;
  static int puts(const char *s, void *self) {
    static_cast<CaptureContext *>(self)->out += s;
    return 0;
  }
  CaptureContext() {
    int err = 0;
    ctx = mxl_new_basic(&CaptureContext::puts, this, nullptr, &err);
    ctx->putsCallback = &CaptureContext::puts;
    ctx->userParams = this;
  }
  ~CaptureContext() { mxl_destroy(ctx); }
  CaptureContext(const CaptureContext &) = delete;
  CaptureContext &operator=(const CaptureContext &) = delete;
  std::string take() {
    std::string s;
    s.swap(out);
    return s;
  }
};
