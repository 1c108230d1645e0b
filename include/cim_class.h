// ICIMClass: a CIM class with its inheritance, keys, association flag,
// property and method declarations, class-level property values and
// instances. The primary table (this class, after ICIMElement's Validate)
// runs from slot 2 to slot 42; the qualifier operations come through the
// second base, ICIMNamedElement.

#ifndef INMEM_INCLUDE_CIM_CLASS_H_
#define INMEM_INCLUDE_CIM_CLASS_H_

#include <map>
#include <string>

#include <boost/shared_ptr.hpp>

#include "include/callbacks.h"
#include "include/cim_element.h"
#include "include/cim_named_element.h"

class ICIMInstance;
class ICIMMethodDecl;
class ICIMNamespace;
class ICIMProperty;
class ICIMPropertyDecl;

class ICIMClass : public ICIMElement, public ICIMNamedElement {
 public:
  ~ICIMClass() override = default;                                             // 0

  // Enters the class into its namespace, its superclass's subclasses and,
  // for an association, the association lists of the classes it references.
  virtual void AddToNamespace(TContext context) = 0;                           // 2
  virtual void RemoveFromNamespace(TContext context) = 0;                      // 3
  virtual void SetElementLink(boost::shared_ptr<ICIMElement> element,
                              TContext context) = 0;                           // 4
  // The name as given at allocation.
  virtual const std::string& GetName(TContext context) const = 0;              // 5
  virtual boost::shared_ptr<ICIMNamespace> GetNamespace(TContext context) const = 0;  // 6
  virtual bool IsAssociation(TContext context) const = 0;                      // 7
  virtual bool IsAbstract(TContext context) const = 0;                         // 8
  virtual bool IsTopLevel(TContext context) const = 0;                         // 9
  virtual boost::shared_ptr<ICIMClass> GetSuperClass(TContext context) const = 0;  // 10
  virtual void EnumerateSubclasses(const TClassCallback& callback, bool deep,
                                   TContext context) = 0;                      // 11
  // True when `other` is this class or one of its ancestors.
  virtual bool IsSubclassOf(boost::shared_ptr<ICIMClass> other,
                            TContext context) const = 0;                       // 12
  // The association classes that can lead from this class to `resultClass`.
  virtual void MatchAssociations(const TClassCallback& callback,
                                 const std::string& assocClass,
                                 const std::string& resultClass,
                                 const std::string& role,
                                 const std::string& resultRole,
                                 TContext context) = 0;                        // 13
  // The association classes that reference this class or an ancestor.
  virtual void EnumerateAssociationClasses(const TClassCallback& callback,
                                           const std::string& assocClass,
                                           const std::string& role,
                                           TContext context) = 0;              // 14
  virtual void EnumerateKeys(const TKeyCallback& callback, TContext context) = 0;  // 15
  // A new declaration of this class; `prototype` carries type, array-ness
  // and default. Not yet entered.
  virtual boost::shared_ptr<ICIMPropertyDecl> AllocatePropertyDecl(
      const std::string& name, const TCIMValue& prototype, TContext context) = 0;  // 16
  virtual boost::shared_ptr<ICIMPropertyDecl> GetPropertyDecl(
      const std::string& name, TContext context) = 0;                          // 17
  virtual void EnumeratePropertyDecls(const TPropertyDeclCallback& callback,
                                      TContext context) = 0;                   // 18
  virtual boost::shared_ptr<ICIMProperty> GetProperty(const std::string& name,
                                                      TContext context) = 0;   // 19
  virtual void SetPropertyValue(const std::string& name, const TCIMValue& value,
                                TContext context) = 0;                         // 20
  virtual void EnumerateProperties(const TPropertyCallback& callback,
                                   TContext context) = 0;                      // 21
  virtual boost::shared_ptr<ICIMInstance> AllocateInstance(TContext context) = 0;  // 22
  virtual void EnumerateInstances(const TInstanceCallback& callback, bool deep,
                                  TContext context) = 0;                       // 23
  virtual boost::shared_ptr<ICIMMethodDecl> AllocateMethodDecl(
      const std::string& name, TCIMValue::TCIMType returnType, TContext context) = 0;  // 24
  virtual boost::shared_ptr<ICIMMethodDecl> GetMethodDecl(const std::string& name,
                                                          TContext context) = 0;  // 25
  virtual void EnumerateMethodDecls(const TMethodDeclCallback& callback,
                                    TContext context) = 0;                     // 26
  virtual TCIMValue InvokeMethod(const std::string& methodName,
                                 const std::map<std::string, TCIMValue>& parameters,
                                 TContext context) = 0;                        // 27
  virtual bool operator==(const ICIMClass& other) const = 0;                   // 28
  virtual bool operator<(const ICIMClass& other) const = 0;                    // 29
  virtual ICIMClass& operator=(const ICIMClass& other) = 0;                    // 30
  virtual bool GetCollectFlag(TContext context) const = 0;                     // 31
  virtual void SetCollectFlag(TContext context) = 0;                           // 32
  virtual void AddSubclass(boost::shared_ptr<ICIMClass> subclass, TContext context) = 0;  // 33
  virtual void RemoveSubclass(boost::shared_ptr<ICIMClass> subclass,
                              TContext context) = 0;                           // 34
  virtual void AddInstance(boost::shared_ptr<ICIMInstance> instance,
                           TContext context) = 0;                              // 35
  virtual void RemoveInstance(boost::shared_ptr<ICIMInstance> instance,
                              TContext context) = 0;                           // 36
  virtual void AddAssociationClass(boost::shared_ptr<ICIMClass> association,
                                   TContext context) = 0;                      // 37
  virtual void RemoveAssociationClass(boost::shared_ptr<ICIMClass> association,
                                      TContext context) = 0;                   // 38
  virtual void AddProperty(boost::shared_ptr<ICIMPropertyDecl> decl, TContext context) = 0;  // 39
  virtual void RemovePropertyDecl(boost::shared_ptr<ICIMPropertyDecl> decl,
                                  TContext context) = 0;                       // 40
  virtual void AddMethod(boost::shared_ptr<ICIMMethodDecl> decl, TContext context) = 0;  // 41
  virtual void RemoveMethodDecl(boost::shared_ptr<ICIMMethodDecl> decl,
                                TContext context) = 0;                         // 42
};

#endif  // INMEM_INCLUDE_CIM_CLASS_H_
