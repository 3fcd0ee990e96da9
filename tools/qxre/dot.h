// dot.h - a graph's text as a file, or as a picture that Graphviz's dot makes of it.
#ifndef QXRE_DOT_H
#define QXRE_DOT_H

#include <string>

namespace qxre {

// `format` is "dot" for the text itself, else one of dot's output formats. An empty `path` is
// standard output. Throws std::runtime_error when something cannot be written, or dot is not there.
void write_graph(const std::string& graph, const std::string& format, const std::string& path);

}  // namespace qxre

#endif
