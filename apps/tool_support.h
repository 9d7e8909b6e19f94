// Pieces of the command-line tool: option words, model loading, the solve
// and its report, and the AMPL result codes.
#pragma once

#include <string>
#include <vector>

struct ToolRequest {
  std::string model;
  std::vector<std::string> optionWords;  // name=value, or option_file=FILE
  bool ampl = false;
};

// Splits a text of options (blank-separated name=value words) and appends
// the words already given.
std::vector<std::string> toolSplitWords(const char *text, const std::vector<std::string> &after);
// Lists the options of the table with their descriptions; returns 0.
int toolListOptions();
// Loads, solves and reports; returns the process exit code.
int toolSolve(const ToolRequest &request);

// Prints the table of AMPL result codes.
void toolPrintResultMap();
// AMPL's solve_result_num for a Morvex return code.
int toolSolveResultNum(int returnCode);
