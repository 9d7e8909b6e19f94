// A fixture that runs each test in a scratch directory with a fresh
// context, so that files written under default names stay local.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "morvex.h"

struct ScratchContext : testing::Test {
  MX_context_ptr kc = nullptr;
  std::string dir, oldDir;
  void SetUp() override {
    char tmpl[] = "/tmp/mxtestXXXXXX";
    dir = mkdtemp(tmpl);
    char cwd[4096];
    oldDir = getcwd(cwd, sizeof cwd);
    ASSERT_EQ(chdir(dir.c_str()), 0);
    ASSERT_EQ(MX_new(&kc), 0);
  }
  void TearDown() override {
    MX_free(&kc);
    ASSERT_EQ(chdir(oldDir.c_str()), 0);
    std::system(("rm -rf " + dir).c_str());
  }
};

// The whole content of a file ("" when it cannot be read).
inline std::string slurp(const std::string &path) {
  std::stringstream s;
  s << std::ifstream(path).rdbuf();
  return s.str();
}
