// Interfaces that the namespace interface names but this system never
// implements: provider descriptions, indication filters and subscriptions.
// Only their layout (a virtual destructor) is shared.

#ifndef INMEM_INCLUDE_FORWARD_INTERFACES_H_
#define INMEM_INCLUDE_FORWARD_INTERFACES_H_

class IProvider {
 public:
  virtual ~IProvider() = default;
};

class ICIMIndicationFilter {
 public:
  virtual ~ICIMIndicationFilter() = default;
};

class ICIMSubscription {
 public:
  virtual ~ICIMSubscription() = default;
};

#endif  // INMEM_INCLUDE_FORWARD_INTERFACES_H_
