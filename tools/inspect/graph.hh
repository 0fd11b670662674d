// The live objects of a program as a graph: who holds whom, and which signals call whom.
#ifndef ZT_INSPECT_GRAPH_HH
#define ZT_INSPECT_GRAPH_HH

#include <string>

namespace ztinspect {

// Draws a report of ztOOP_report(), for Graphviz, to a file or, without path, to standard output.
int graph(const std::string &report, const std::string &output);

}  // namespace ztinspect

#endif
