// Collected: what an enumeration of the element interfaces hands to its
// callback, gathered into a vector, every element (the callback never asks
// the walk to stop). For a host that needs the elements as a list: to count
// or page them, or to hold them while the repository may change.
//
//   std::vector<boost::shared_ptr<ICIMClass>> subclasses = Collected<ICIMClass>(
//       [&](const auto& callback) { cls.EnumerateSubclasses(callback, false, TContext()); });

#ifndef INMEM_CORE_COLLECTED_H_
#define INMEM_CORE_COLLECTED_H_

#include <utility>
#include <vector>

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

template <typename T, typename Enumerate>
std::vector<boost::shared_ptr<T>> Collected(Enumerate enumerate) {
  std::vector<boost::shared_ptr<T>> all;
  const boost::function<bool(boost::shared_ptr<T>)> callback = [&all](boost::shared_ptr<T> element) {
    all.push_back(std::move(element));
    return true;
  };
  enumerate(callback);
  return all;
}

#endif  // INMEM_CORE_COLLECTED_H_
