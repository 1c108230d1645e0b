// Pictures of a repository as Graphviz DOT text: where a class stands, and
// what an instance is connected to. RenderSvg (browser/dot_renderer.h) lays
// them out; `inmem graph` writes either form.
//
// A picture is capped in size: past the cap the rest is left out and a note
// in the picture says how much (by default 60 nodes).

#ifndef INMEM_BROWSER_REPOSITORY_GRAPHS_H_
#define INMEM_BROWSER_REPOSITORY_GRAPHS_H_

#include <string>

class ICIMClass;
class ICIMInstance;
class TNamespaceLinks;

struct TGraphLimits {
  size_t maxNodes = 60;
  // For an instance's neighbourhood: association hops from it (1 to 4).
  int hops = 1;
  // When given, each node links to its page in the browser (made by these
  // links: the class's, the instance's in the namespace that holds it),
  // for a picture opened on its own from the server.
  const TNamespaceLinks* links = nullptr;
};

// The class with its ancestors up to the top, its direct subclasses, and
// the association classes that reference it, each with an edge to every
// class it references, labelled with the reference's name; at most 8
// subclasses and 8 associations.
std::string ClassGraph(ICIMClass& cls, const TGraphLimits& limits);

// The instance and the instances within `hops` association hops of it: an
// association with two ends is an edge between them labelled with its class
// and the two roles; one with more ends is a node of its own with an edge to
// each end, labelled with the role.
std::string InstanceGraph(ICIMInstance& instance, const TGraphLimits& limits);

#endif  // INMEM_BROWSER_REPOSITORY_GRAPHS_H_
