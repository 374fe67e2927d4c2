// A converted file written to disk: each input opened and its headers read afresh (a file may
// have changed since it was looked at), the output built by the stream converter and written
// through platform::RewriteFile, so that it is whole or not there.
#ifndef TAGVERA_KMEDIA_CONVERT_CONVERT_FILES_H
#define TAGVERA_KMEDIA_CONVERT_CONVERT_FILES_H

#include <string>
#include <vector>

#include "kmedia/convert/stream_converter.h"

namespace tagvera::kmedia {

// Throws Error: the reader's code for an input that does not read, TV_KM_E_OUTPUTISINPUT for an
// output that is one of the inputs under another name, E_FAIL for packets that do not hold
// together or a write that fails. A new output is removed again after a failure.
void ConvertFiles(const std::vector<std::string>& inputs, const std::string& output, const ConvertPlan& plan);

}  // namespace tagvera::kmedia

#endif
