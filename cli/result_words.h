// A result code said in words a person can act on. The code itself follows only when the run
// asked for it (--verbose): people read the words, a bug report wants the number.
#ifndef TAGVERA_CLI_RESULT_WORDS_H
#define TAGVERA_CLI_RESULT_WORDS_H

#include <string>

#include "tagvera/abi.h"

namespace tagvera::cli {

std::string Why(HRESULT hr);
// Set once from the command line, before any command runs.
void ShowResultCodes(bool on);

}  // namespace tagvera::cli

#endif
