// Exported calls that create and free contexts.
#include <cstdio>
#include <cstring>

#include "driver/print.h"
#include "interface/frame.h"

extern "C" {

MX_EXPORT int MX_new(MX_context_ptr *handle) {
  if (handle == nullptr) return MX_RC_NULL_POINTER;
  *handle = nullptr;
  int error = 0;
  MXL_context *ctx = mxl_new_basic(nullptr, nullptr, nullptr, &error);
  if (ctx == nullptr) return MX_RC_OUT_OF_MEMORY;
  if (mx_init(ctx) != 0) {
    mxl_destroy(ctx);
    return MX_RC_OUT_OF_MEMORY;
  }
  *handle = ctx;
  return 0;
}

MX_EXPORT MXL_context_ptr MXL_new(void) {
  int error = 0;
  return mxl_new_basic(nullptr, nullptr, nullptr, &error);
}

static int mxl_free_checked(MXL_context_ptr *handle, const char *fn) {
  if (mxl_magic_check(*handle, 1, fn)) return MX_RC_BAD_KCPTR;
  MXL_context *ctx = *handle;
  {
    // Wait for a solve on another thread to leave the context.
    MxLock lock(ctx->mutex);
    ctx->model.reset();
  }
  mxl_destroy(ctx);
  *handle = nullptr;
  return 0;
}

MX_EXPORT int MX_free(MX_context_ptr *handle) {
  if (handle == nullptr) {
    mxl_print_stdout("WARNING: MX_free() was passed a NULL handle (pointer to pointer).\n");
    return MX_RC_BAD_KCPTR;
  }
  return mxl_free_checked(handle, "MX_free");
}

MX_EXPORT int MXL_free(MXL_context_ptr *handle) {
  if (handle == nullptr) {
    mxl_print_stdout("WARNING: MX_free()/MXL_free() was passed a NULL handle (pointer to pointer).\n");
    return MX_RC_BAD_KCPTR;
  }
  return mxl_free_checked(handle, "MXL_free");
}

MX_EXPORT int MX_get_release(const int length, char *const buffer) {
  if (buffer == nullptr) return MX_RC_NULL_POINTER;
  if (length < 1) {
    buffer[0] = '\0';
    return MX_RC_BAD_PARAMINPUT;
  }
  char text[64];
  std::snprintf(text, sizeof text, "Morvex %s", MORVEX_VERSION_TEXT);
  std::strncpy(buffer, text, static_cast<size_t>(length));
  buffer[length] = '\0';
  return 0;
}

}  // extern "C"
