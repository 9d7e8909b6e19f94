// The print file and the output directory.
#include "driver/output.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

#include "driver/print.h"
#include "interface/context.h"

static void mx_report_outdir_error(MXL_context *ctx, int err) {
  mxl_printf(ctx, "WARNING: Could not find outdir '%s'.\n", ctx->opt.outdir.c_str());
  if (err == EACCES)
    mxl_printf(ctx, "         Unix error = EACCES (access denied).\n");
  else if (err == ENOTDIR)
    mxl_printf(ctx, "         Unix error = ENOTDIR (not a directory).\n");
  else if (err == ENOENT)
    mxl_printf(ctx, "         Unix error = ENOENT (no such entry).\n");
  else
    mxl_printf(ctx, "         Unix error = %d\n", err);
  mxl_printf(ctx, "         Output files will be in the current directory.\n");
}

bool validateOutDir(MXL_context *ctx) {
  const std::string &dir = ctx->opt.outdir;
  if (dir.empty()) return false;
  struct stat info;
  int err = 0;
  if (stat(dir.c_str(), &info) != 0)
    err = errno;
  else if (!S_ISDIR(info.st_mode))
    err = ENOTDIR;
  else if (access(dir.c_str(), W_OK | X_OK) != 0)
    err = errno;
  if (err == 0) return true;
  mx_report_outdir_error(ctx, err);
  return false;
}

std::string mx_output_path(MXL_context *ctx, const char *name) {
  if (ctx->opt.outdir.empty() || !validateOutDir(ctx)) return name;
  std::string path = ctx->opt.outdir;
  if (path.back() != '/') path += '/';
  return path + name;
}

void closePrintFile(MXL_context *ctx) {
  if (ctx->output) ctx->output->printFile.reset();
}

void openPrintFile(MXL_context *ctx) {
  if (ctx->opt.outlev == 0) return;
  closePrintFile(ctx);
  const bool named = !ctx->opt.outname.empty();
  const std::string path = mx_output_path(ctx, named ? ctx->opt.outname.c_str() : "morvex.log");
  const bool append = ctx->opt.outappend == 1;
  MxFile file(std::fopen(path.c_str(), append ? "a" : "w"));
  if (!file) {
    if (named)
      mxl_printf(ctx, "WARNING: Could not open file %s.\n", path.c_str());
    else
      mxl_printf(ctx, "WARNING: Could not open file morvex.log.\n");
    ctx->opt.outmode = 0;
    mxl_printf(ctx, "         Output will be sent to the screen (outmode=%d).\n", ctx->opt.outmode);
    return;
  }
  ctx->output->printDir = ctx->opt.outdir;
  ctx->output->printName = ctx->opt.outname;
  if (append && std::ftell(file.get()) > 0)
    std::fputs("\n======================================================================\n", file.get());
  ctx->output->printFile = std::move(file);
}

MxFile openOutputFile(MXL_context *ctx, const char *name, const char *mode) {
  const std::string path = mx_output_path(ctx, name);
  MxFile file(std::fopen(path.c_str(), mode));
  if (!file) {
    mxl_printf(ctx, "Error opening %s.\n", path.c_str());
    mxl_printf(ctx, "*** Could not open '%s' for output.\n", path.c_str());
  }
  return file;
}

void connectStdoutToFile(MXL_context *ctx) {
  MxOutputState &out = *ctx->output;
  if (!out.printFile || ctx->opt.outmode != 1 || out.savedStdout >= 0) return;
  std::fflush(stdout);
  out.savedStdout = dup(STDOUT_FILENO);
  if (out.savedStdout >= 0) dup2(fileno(out.printFile.get()), STDOUT_FILENO);
}

void disconnectStdoutFromFile(MXL_context *ctx) {
  MxOutputState &out = *ctx->output;
  if (out.savedStdout < 0) return;
  std::fflush(stdout);
  dup2(out.savedStdout, STDOUT_FILENO);
  close(out.savedStdout);
  out.savedStdout = -1;
}

// After `outlev`, `outmode`, `outname` or `outdir` changed: keep the first
// two in range and have the print file open exactly when output goes to a
// file, under its current name. An open file stays open while its name
// holds, so that raising the level mid-way does not truncate the log.
void mxl_output_option_changed(MXL_context *ctx) {
  if (ctx->opt.outmode < 0) ctx->opt.outmode = 0;
  if (ctx->opt.outmode > 2) ctx->opt.outmode = 2;
  if (ctx->opt.outlev > 6) ctx->opt.outlev = 6;
  if (ctx->opt.outlev < 0) ctx->opt.outlev = 0;
  const bool toFile = ctx->opt.outlev > 0 && ctx->opt.outmode != 0;
  const MxOutputState &out = *ctx->output;
  // A new name or folder takes effect at once, whichever option came first.
  const bool moved = out.printFile && (out.printDir != ctx->opt.outdir || out.printName != ctx->opt.outname);
  if (toFile && (!out.printFile || moved)) openPrintFile(ctx);
  if (!toFile) closePrintFile(ctx);
}
