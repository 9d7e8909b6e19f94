#include "driver/print.h"

#include <cstdio>
#include <string>

#include "interface/context.h"

void mxl_vprintf(MXL_context *ctx, const char *fmt, va_list ap) {
  if (ctx != nullptr && ctx->opt.outlev == 0) return;
  char local[1024];
  va_list copy;
  va_copy(copy, ap);
  int len = std::vsnprintf(local, sizeof local, fmt, copy);
  va_end(copy);
  if (len < 0) return;
  std::string big;
  const char *text = local;
  if (static_cast<size_t>(len) >= sizeof local) {
    big.resize(static_cast<size_t>(len) + 1);
    std::vsnprintf(&big[0], big.size(), fmt, ap);
    text = big.c_str();
  }
  if (ctx != nullptr && ctx->putsCallback != nullptr) {
    ctx->putsCallback(text, ctx->userParams);
    return;
  }
  std::fputs(text, stdout);
}

void mxl_printf(MXL_context *ctx, const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  mxl_vprintf(ctx, fmt, ap);
  va_end(ap);
}

void mxl_print_stdout(const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::vfprintf(stdout, fmt, ap);
  va_end(ap);
  std::fflush(stdout);
}

void mxl_print_stderr(const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::vfprintf(stderr, fmt, ap);
  va_end(ap);
}

void mxl_output_option_changed(MXL_context *ctx) { (void)ctx; }
