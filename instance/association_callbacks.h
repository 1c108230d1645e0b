// The function objects that carry an association walk from the class side
// (association classes, their instances) back into the instance whose
// associations are walked. Each holds the user callback and the names by
// reference: they live in the frame of the public operation for the walk.

#ifndef INMEM_INSTANCE_ASSOCIATION_CALLBACKS_H_
#define INMEM_INSTANCE_ASSOCIATION_CALLBACKS_H_

#include <string>

#include "include/inmem_instance.h"

// Receives each association class; examines its instances.
class TReferencesCallback {
 public:
  TReferencesCallback(boost::shared_ptr<TInmemInstance> self, const TInstanceCallback& callback,
                      const std::string& role)
      : self_(self), callback_(callback), role_(role) {}
  bool operator()(boost::shared_ptr<ICIMClass> assocClass) const {
    return self_->ExamineCandidateClass(callback_, role_, assocClass);
  }

 private:
  boost::shared_ptr<TInmemInstance> self_;
  const TInstanceCallback& callback_;
  const std::string& role_;
};

// Receives each candidate association instance (no role).
class TExamineInstanceCallback {
 public:
  TExamineInstanceCallback(boost::shared_ptr<TInmemInstance> self,
                           const TInstanceCallback& callback)
      : self_(self), callback_(callback) {}
  bool operator()(boost::shared_ptr<ICIMInstance> candidate) const {
    return self_->ExamineCandidateClassInstance(callback_, candidate);
  }

 private:
  boost::shared_ptr<TInmemInstance> self_;
  const TInstanceCallback& callback_;
};

// Receives each candidate association instance (with a role).
class TExamineInstanceWithRoleCallback {
 public:
  TExamineInstanceWithRoleCallback(boost::shared_ptr<TInmemInstance> self,
                                   const TInstanceCallback& callback, const std::string& role)
      : self_(self), callback_(callback), role_(role) {}
  bool operator()(boost::shared_ptr<ICIMInstance> candidate) const {
    return self_->ExamineCandidateClassInstanceWithRole(callback_, role_, candidate);
  }

 private:
  boost::shared_ptr<TInmemInstance> self_;
  const TInstanceCallback& callback_;
  const std::string& role_;
};

// Receives each association instance of an associators walk (no result role).
class TAssociatorsExamineCallback {
 public:
  TAssociatorsExamineCallback(TInmemInstance* self, const TInstanceCallback& callback,
                              const std::string& role, boost::shared_ptr<ICIMClass> resultClass)
      : self_(self), callback_(callback), role_(role), resultClass_(resultClass) {}
  bool operator()(boost::shared_ptr<ICIMInstance> association) const {
    return self_->ExamineCandidate(callback_, resultClass_, role_,
                                   boost::static_pointer_cast<TInmemInstance>(association));
  }

 private:
  TInmemInstance* self_;
  const TInstanceCallback& callback_;
  const std::string& role_;
  boost::shared_ptr<ICIMClass> resultClass_;
};

// Receives each association instance of an associators walk (result role).
class TAssociatorsExamineWithResultRoleCallback {
 public:
  TAssociatorsExamineWithResultRoleCallback(TInmemInstance* self,
                                            const TInstanceCallback& callback,
                                            const std::string& resultRole,
                                            boost::shared_ptr<ICIMClass> resultClass)
      : self_(self), callback_(callback), resultRole_(resultRole), resultClass_(resultClass) {}
  bool operator()(boost::shared_ptr<ICIMInstance> association) const {
    return self_->ExamineCandidateWithResultRole(
        callback_, resultClass_, resultRole_,
        boost::static_pointer_cast<TInmemInstance>(association));
  }

 private:
  TInmemInstance* self_;
  const TInstanceCallback& callback_;
  const std::string& resultRole_;
  boost::shared_ptr<ICIMClass> resultClass_;
};

#endif  // INMEM_INSTANCE_ASSOCIATION_CALLBACKS_H_
