// explain.h - `qxre explain` and `qxre graph`: what a pattern is compiled to.
#ifndef QXRE_EXPLAIN_H
#define QXRE_EXPLAIN_H

#include <string>

#include <qxut/regexp/flags.hpp>

namespace qxre {

struct ExplainOptions {
    std::string pattern;
    RE_Flags flags = RE_NO_FLAGS;
    std::string format = "dot";  // graph: dot (the text itself), svg, png
    std::string output;          // graph: a file; empty: standard output
};

// Exit statuses: 0; 1 there are warnings; 2 it did not work out.
int explain(const ExplainOptions& options);
int graph(const ExplainOptions& options);

}  // namespace qxre

#endif
