// TSchemaNotes: maps by folded class and method name; DeclaredParameters
// merges them with what the repository holds.

#include "mof/schema_notes.h"

#include <set>

#include "core/ascii.h"
#include "core/cim_type.h"
#include "core/collected.h"
#include "include/cim_class.h"
#include "include/cim_method_decl.h"
#include "include/cim_parameter_decl.h"

bool TSchemaNotes::TFolded::operator()(std::string_view a, std::string_view b) const {
  return LessFoldingAscii(a, b);
}

void TSchemaNotes::NoteMethod(const std::string& className, const std::string& methodName,
                              std::vector<TParameter> parameters) {
  auto cls = classes_.find(className);
  if (cls == classes_.end()) cls = classes_.emplace(className, TMethods()).first;
  auto method = cls->second.find(methodName);
  if (method == cls->second.end()) {
    cls->second.emplace(methodName, std::move(parameters));
  } else {
    method->second = std::move(parameters);
  }
}

const std::vector<TSchemaNotes::TParameter>* TSchemaNotes::Method(std::string_view className,
                                                                   std::string_view methodName) const {
  auto cls = classes_.find(className);
  if (cls == classes_.end()) return nullptr;
  auto method = cls->second.find(methodName);
  return method == cls->second.end() ? nullptr : &method->second;
}

std::vector<std::string> TSchemaNotes::ReferencedClasses(std::string_view className) const {
  std::vector<std::string> referenced;
  auto cls = classes_.find(className);
  if (cls == classes_.end()) return referenced;
  for (const auto& method : cls->second) {
    for (const TParameter& parameter : method.second) {
      if (!parameter.referenceClass.empty()) referenced.push_back(parameter.referenceClass);
    }
  }
  return referenced;
}

void TSchemaNotes::ForgetClass(std::string_view className) {
  auto cls = classes_.find(className);
  if (cls != classes_.end()) classes_.erase(cls);
}

std::vector<TDeclaredParameter> DeclaredParameters(const ICIMMethodDecl& method, const TSchemaNotes* notes) {
  const TContext none;
  std::vector<boost::shared_ptr<ICIMParameterDecl>> held = Collected<ICIMParameterDecl>(
      [&](const auto& callback) { method.EnumerateParameters(callback, none); });
  std::vector<TDeclaredParameter> declared;
  const std::vector<TSchemaNotes::TParameter>* noted = nullptr;
  if (notes != nullptr) {
    boost::shared_ptr<ICIMClass> owner = method.GetClass(none);
    if (owner) noted = notes->Method(owner->GetName(none), method.GetName(none));
  }
  std::set<const ICIMParameterDecl*> placed;
  if (noted != nullptr) {
    for (const TSchemaNotes::TParameter& parameter : *noted) {
      for (const auto& decl : held) {
        if (!EqualsFoldingAscii(decl->GetName(none), parameter.name) || !placed.insert(decl.get()).second) continue;
        const bool reference = ElementTypeOf(decl->GetType(none)) == kCIMTypeReference;
        declared.push_back(TDeclaredParameter{decl, reference ? parameter.referenceClass : std::string()});
        break;
      }
    }
  }
  for (const auto& decl : held) {
    if (placed.count(decl.get()) == 0) declared.push_back(TDeclaredParameter{decl, std::string()});
  }
  return declared;
}
