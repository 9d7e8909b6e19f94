// Shared machinery of the per-item setter and getter families.
//
// A family's base form takes a count, an index array and a value array; the
// `_all` form calls it with 0..size-1 and the single form with count 1. The
// base form checks count and pointers, takes the lock and then, entry by
// entry, checks the index, checks the value and stores it, so that entries
// before a bad one stay stored.
#pragma once

#include <cmath>
#include <type_traits>
#include <vector>

#include "driver/print.h"
#include "interface/frame.h"

// What distinguishes variables, constraints, residuals and complementarity
// pairs in the checks of a base form.
struct MxItemKind {
  const char *countMessage;   // negative count
  const char *exceedMessage;  // count above the model's size
  const char *rangeMessage;   // index out of range
  const char *indexName;      // name of the index array argument
  int badIndexCode;
  int needVars, needCons, needRsds;
  int (*size)(const MXL_context *ctx);
};

extern const MxItemKind mxVarKind;
extern const MxItemKind mxConKind;
extern const MxItemKind mxRsdKind;
extern const MxItemKind mxCompKind;

// How a call behaves across solves.
enum MxPhase { MX_ANY_PHASE = 0, MX_BEFORE_SOLVE_ONLY = 1, MX_AFTER_SOLVE_ONLY = 2 };

// The checks before the lock of a setter's base form. Returns -1 to go on,
// otherwise the code to return (0 for a zero count).
int mx_setter_prologue(MXL_context *ctx, const char *fn, const MxItemKind &kind,
                       MxPhase phase, int count, const int *indices,
                       const void *values, const char *valueName);

// A bad index in a setter: fatal with the kind's code and two-line message.
[[noreturn]] void mx_bad_index(MXL_context *ctx, const MxItemKind &kind, int index);

// Runs a setter's base form: prologue, lock, then store(i, k) for each entry
// k with index i after its range check.
template <class Store>
int mx_set_items(MXL_context *ctx, const char *fn, const MxItemKind &kind, MxPhase phase,
                 int count, const int *indices, const void *values, const char *valueName,
                 Store &&store) {
  return mx_guard(ctx, [&]() {
    const int pre = mx_setter_prologue(ctx, fn, kind, phase, count, indices, values, valueName);
    if (pre != -1) return pre;
    MxLock lock(ctx->mutex);
    const int size = kind.size(ctx);
    for (int k = 0; k < count; ++k) {
      const int i = indices[k];
      if (i < 0 || i >= size) mx_bad_index(ctx, kind, i);
      store(i, k);
    }
    return 0;
  });
}

// The checks of a getter's base form; none of them poisons the context.
// Returns -1 to go on, otherwise the code to return.
int mx_getter_prologue(MXL_context *ctx, const char *fn, const MxItemKind &kind, int count,
                       const int *indices, const void *values, const char *valueName);

// A failed getter check: records the code without poisoning the context.
int mx_getter_fail(MXL_context *ctx, int code);

template <class Load>
int mx_get_items(MXL_context *ctx, const char *fn, const MxItemKind &kind, int count,
                 const int *indices, const void *values, const char *valueName, Load &&load) {
  return mx_guard(ctx, [&]() {
    const int pre = mx_getter_prologue(ctx, fn, kind, count, indices, values, valueName);
    if (pre != -1) return pre;
    const int size = kind.size(ctx);
    for (int k = 0; k < count; ++k) {
      const int i = indices[k];
      if (i < 0 || i >= size) {
        mxl_printf(ctx, kind.rangeMessage, i);
        mxl_printf(ctx, "       The index should be less than %d and non-negative.\n", size);
        return mx_getter_fail(ctx, kind.badIndexCode);
      }
      // A load may refuse an entry by returning a code.
      if constexpr (std::is_same_v<decltype(load(i, k)), int>) {
        if (const int rc = load(i, k)) return rc;
      } else {
        load(i, k);
      }
    }
    return 0;
  });
}

// The index list 0..size-1 of an `_all` form, or null for a bad context (the
// base form then reports the handle).
std::vector<int> mx_all_indices(const MXL_context *ctx, const MxItemKind &kind);

inline bool mx_finite(double v) { return std::isfinite(v); }

// Grows an optional per-item array to the model's size on first use.
template <class T>
void mx_ensure(MxOptArray<T> &a, int size, const T &fill) {
  if (static_cast<int>(a.v.size()) < size) a.v.resize(static_cast<size_t>(size), fill);
}
template <class T>
void mx_ensure(std::vector<T> &a, int size, const T &fill) {
  if (static_cast<int>(a.size()) < size) a.resize(static_cast<size_t>(size), fill);
}

// Runs f(count, indices) with the index list of an `_all` form.
template <class F>
int mx_call_all(MXL_context *ctx, const MxItemKind &kind, F &&f) noexcept {
  std::vector<int> idx;
  try {
    idx = mx_all_indices(ctx, kind);
  } catch (const std::bad_alloc &) {
    mx_report_out_of_memory(ctx);
    return MX_RC_OUT_OF_MEMORY;
  }
  return f(static_cast<int>(idx.size()), idx.data());
}

// The three forms of a family over one base form. BASE(ctx, count, indices,
// values...) must already exist.
#define MX_ALL_AND_ONE_FORMS(ALLNAME, ONENAME, BASE, KIND, T)                 \
  MX_EXPORT int ALLNAME(MX_context_ptr ctx, const T *values) {                \
    return mx_call_all(ctx, KIND, [&](int count, const int *idx) {           \
      return BASE(ctx, count, idx, values);                                   \
    });                                                                       \
  }                                                                           \
  MX_EXPORT int ONENAME(MX_context_ptr ctx, const int index, const T value) { \
    return BASE(ctx, 1, &index, &value);                                      \
  }
