// RenderSvg: DOT text laid out as SVG by Graphviz's dot program (Debian's
// graphviz package).
//
// dot runs as a child process with its input and output on pipes, so a
// picture that makes Graphviz fail or take too long costs that picture, not
// the server: past `seconds` the child is killed, and its output is bounded.

#ifndef INMEM_BROWSER_DOT_RENDERER_H_
#define INMEM_BROWSER_DOT_RENDERER_H_

#include <string>

// False, with the reason in *error, when no SVG came out.
bool RenderSvg(const std::string& dot, std::string* svg, std::string* error, int seconds = 10);

#endif  // INMEM_BROWSER_DOT_RENDERER_H_
