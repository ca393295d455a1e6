// `exprcurve demo`: the guided first run.
#ifndef EXPRCURVE_TOOLS_DEMO_COMMAND_H
#define EXPRCURVE_TOOLS_DEMO_COMMAND_H

#include <string>

namespace tool {

int runDemo(const std::string& folder);  // an empty folder: a new temporary one

}  // namespace tool

#endif  // EXPRCURVE_TOOLS_DEMO_COMMAND_H
