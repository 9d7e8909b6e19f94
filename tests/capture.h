// Captures everything a context prints through its puts callback.
#pragma once

#include <string>

#include "interface/context.h"

struct PrintCapture {
  std::string text;
  explicit PrintCapture(MXL_context *ctx) {
    ctx->putsCallback = [](const char *s, void *user) {
      static_cast<PrintCapture *>(user)->text += s;
      return 0;
    };
    ctx->userParams = this;
  }
  std::string take() {
    std::string t;
    t.swap(text);
    return t;
  }
};
