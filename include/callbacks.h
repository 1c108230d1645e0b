// The enumeration callbacks of the element interfaces.
//
// Each receives one element and returns bool. Whether false stops the walk is
// each operation's own rule and is stated where the operation is declared.

#ifndef INMEM_INCLUDE_CALLBACKS_H_
#define INMEM_INCLUDE_CALLBACKS_H_

#include <string>

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

class ICIMClass;
class ICIMInstance;
class ICIMMethodDecl;
class ICIMParameterDecl;
class ICIMProperty;
class ICIMPropertyDecl;
class ICIMQualifier;
class ICIMQualifierDecl;
class IProvider;

typedef boost::function<bool(boost::shared_ptr<ICIMClass>)> TClassCallback;
typedef boost::function<bool(boost::shared_ptr<ICIMInstance>)> TInstanceCallback;
typedef boost::function<bool(boost::shared_ptr<ICIMProperty>)> TPropertyCallback;
typedef boost::function<bool(boost::shared_ptr<ICIMPropertyDecl>)> TPropertyDeclCallback;
typedef boost::function<bool(boost::shared_ptr<ICIMMethodDecl>)> TMethodDeclCallback;
typedef boost::function<bool(boost::shared_ptr<ICIMParameterDecl>)> TParameterDeclCallback;
typedef boost::function<bool(boost::shared_ptr<ICIMQualifier>)> TQualifierCallback;
typedef boost::function<bool(boost::shared_ptr<ICIMQualifierDecl>)> TQualifierDeclCallback;
typedef boost::function<bool(boost::shared_ptr<IProvider>)> TProviderCallback;
// Receives the name of one key property.
typedef boost::function<bool(const std::string&)> TKeyCallback;

#endif  // INMEM_INCLUDE_CALLBACKS_H_
