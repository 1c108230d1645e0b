// TInmemElementGroup: the classes of a namespace and of all its copies, and
// the teardown that frees them once the last of those namespaces goes.
//
// Two ownership cycles survive the release of a namespace's maps: an
// instance holds its class strongly while the class holds the instances
// filed in it, and an association that references its own class holds
// itself through that class's record of association classes. A namespace
// cuts them when it goes. Its copies, however, share its class objects, and
// dropping one copy must leave the others whole; so the original and every
// copy share one group, and the cut is made when the group goes, that is
// with the last namespace that shares it.
//
// Invariant: every class allocated through a namespace of the group (the
// root class included) is recorded, weakly: the group never keeps a class
// alive, and forgets classes that are gone.

#ifndef INMEM_NAMESPACE_ELEMENT_GROUP_H_
#define INMEM_NAMESPACE_ELEMENT_GROUP_H_

#include <vector>

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

class TInmemClass;

class TInmemElementGroup {
 public:
  TInmemElementGroup() = default;
  TInmemElementGroup(const TInmemElementGroup&) = delete;
  TInmemElementGroup& operator=(const TInmemElementGroup&) = delete;
  // Drops the filed instances and the association records of every
  // recorded class still alive.
  ~TInmemElementGroup();

  void Record(const boost::shared_ptr<TInmemClass>& cls);

 private:
  std::vector<boost::weak_ptr<TInmemClass>> classes_;
};

#endif  // INMEM_NAMESPACE_ELEMENT_GROUP_H_
