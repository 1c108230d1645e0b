// ICIMInstance: an instance of a class, holding one property value object
// per declared property.

#ifndef INMEM_INCLUDE_CIM_INSTANCE_H_
#define INMEM_INCLUDE_CIM_INSTANCE_H_

#include <map>
#include <string>

#include <boost/shared_ptr.hpp>

#include "core/cim_reference.h"
#include "include/callbacks.h"
#include "include/cim_element.h"

class ICIMClass;
class ICIMProperty;

class ICIMInstance : public ICIMElement {
 public:
  ~ICIMInstance() override = default;                                          // 0
  // Validates and, when valid, files the instance in its class.
  virtual void AddToNamespace(TContext context) = 0;                           // 2
  virtual void ModifyInstance(boost::shared_ptr<ICIMInstance> other,
                              TContext context) = 0;                           // 3
  virtual void Delete(TContext context) = 0;                                   // 4
  virtual TCIMReference GetReference(TContext context) = 0;                    // 5
  virtual TCIMReference GetElementReference(TContext context) = 0;             // 6
  virtual boost::shared_ptr<ICIMClass> GetClass(TContext context) const = 0;   // 7
  // Associators: the far ends of the associations that point at this instance.
  virtual void EnumerateAssociatedInstances(const TInstanceCallback& callback,
                                            const std::string& assocClass,
                                            const std::string& resultClass,
                                            const std::string& role,
                                            const std::string& resultRole,
                                            TContext context) = 0;             // 8
  // References: the association instances that point at this instance.
  virtual void EnumerateAssociationInstances(const TInstanceCallback& callback,
                                             const std::string& resultClass,
                                             const std::string& role,
                                             TContext context) = 0;            // 9
  virtual boost::shared_ptr<ICIMProperty> GetProperty(const std::string& name,
                                                      TContext context) = 0;   // 10
  virtual void SetPropertyValue(const std::string& name, const TCIMValue& value,
                                TContext context) = 0;                         // 11
  virtual void EnumerateProperties(const TPropertyCallback& callback,
                                   TContext context) = 0;                      // 12
  virtual TCIMValue InvokeMethod(const std::string& methodName,
                                 const std::map<std::string, TCIMValue>& parameters,
                                 TContext context) = 0;                        // 13
  virtual bool operator==(const ICIMInstance& other) const = 0;                // 14
  virtual bool operator<(const ICIMInstance& other) const = 0;                 // 15
  virtual ICIMInstance& operator=(const ICIMInstance& other) = 0;              // 16
};

#endif  // INMEM_INCLUDE_CIM_INSTANCE_H_
