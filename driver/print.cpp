#include "driver/print.h"

#include <cstdio>
#include <string>

#include "driver/output.h"
#include "interface/context.h"

// Routing: nothing at `outlev` 0; the puts callback alone when one is
// installed (formatted into 1024 characters); otherwise the print file when
// `outmode` asks for it, and standard output unless `outmode` is 1.
void mxl_vprintf(MXL_context *ctx, const char *fmt, va_list ap) {
  if (ctx == nullptr) {
    std::vfprintf(stdout, fmt, ap);
    return;
  }
  if (ctx->opt.outlev == 0) return;
  if (ctx->putsCallback != nullptr) {
    char buffer[1024];
    std::vsnprintf(buffer, sizeof buffer, fmt, ap);
    buffer[sizeof buffer - 1] = '\0';
    ctx->putsCallback(buffer, ctx->userParams);
    return;
  }
  std::FILE *file = ctx->output ? ctx->output->printFile.get() : nullptr;
  const bool toFile = ctx->opt.outmode != 0 && file != nullptr;
  const bool toScreen = !toFile || ctx->opt.outmode != 1;
  va_list copy;
  va_copy(copy, ap);
  if (toFile) {
    std::vfprintf(file, fmt, copy);
    std::fflush(file);
  }
  va_end(copy);
  if (toScreen) {
    std::vfprintf(stdout, fmt, ap);
    std::fflush(stdout);
  }
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

