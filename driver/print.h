// All text output of the library goes through mxl_printf.
#pragma once
#include <cstdarg>

struct MXL_context;

void mxl_printf(MXL_context *ctx, const char *fmt, ...) __attribute__((format(printf, 2, 3)));
void mxl_vprintf(MXL_context *ctx, const char *fmt, va_list ap);
// Called after `outlev` or `outmode` changed.
void mxl_output_option_changed(MXL_context *ctx);
// Text that must reach the user even without a usable context (bad handle).
void mxl_print_stdout(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
void mxl_print_stderr(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

// Called, with the context lock held, after outlev or outmode was set, so
