// The ends of an association instance: the instances its references lead
// to, each with the name of its reference (its role), in property order.
// A reference that is null or leads nowhere is passed over.

#ifndef INMEM_BROWSER_ASSOCIATION_ENDS_H_
#define INMEM_BROWSER_ASSOCIATION_ENDS_H_

#include <functional>
#include <string>

#include <boost/shared_ptr.hpp>

class ICIMInstance;

void VisitAssociationEnds(
    ICIMInstance& association,
    const std::function<void(const std::string& role, const boost::shared_ptr<ICIMInstance>& end)>& visit);

#endif  // INMEM_BROWSER_ASSOCIATION_ENDS_H_
