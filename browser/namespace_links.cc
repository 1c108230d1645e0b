// TNamespaceLinks: addresses made with a namespace's prefix, and read back.

#include "browser/namespace_links.h"

#include "browser/html_text.h"
#include "core/cim_reference.h"
#include "core/namespace_directory.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "server/namespace_registry.h"

namespace {

const TContext kNone;
constexpr std::string_view kPrefix = "/ns/";

}  // namespace

TNamespaceLinks::TNamespaceLinks(const TNamespaceRegistry* namespaces, const std::string& defaultName,
                                 std::string name)
    : namespaces_(namespaces), defaultName_(defaultName), name_(std::move(name)) {
  if (TNamespaceDirectory::Key(name_) != TNamespaceDirectory::Key(defaultName_)) {
    prefix_ = std::string(kPrefix) + UrlEncoded(name_);
  }
}

bool TNamespaceLinks::Read(std::string_view path, TPageAddress* address) {
  *address = TPageAddress();
  std::string_view page = path;
  if (path.substr(0, kPrefix.size()) == kPrefix) {
    path.remove_prefix(kPrefix.size());
    const size_t slash = path.find('/');
    if (!UrlDecoded(path.substr(0, slash), &address->namespaceName)) return false;
    address->prefixed = true;
    page = slash == std::string_view::npos ? std::string_view("/") : path.substr(slash);
  }
  return UrlDecoded(page, &address->page);
}

TNamespaceLinks TNamespaceLinks::Of(std::string name) const {
  return TNamespaceLinks(namespaces_, defaultName_, std::move(name));
}

std::string TNamespaceLinks::Overview() const { return prefix_ + "/"; }

std::string TNamespaceLinks::Classes() const { return prefix_ + "/classes"; }

std::string TNamespaceLinks::Class(std::string_view className) const {
  return prefix_ + "/class/" + UrlEncoded(className);
}

std::string TNamespaceLinks::Instances(std::string_view className) const { return Class(className) + "/instances"; }

std::string TNamespaceLinks::ClassPicture(std::string_view className) const {
  return prefix_ + "/graph/class/" + UrlEncoded(className) + ".svg";
}

std::string TNamespaceLinks::Instance(ICIMInstance& instance) const {
  std::string path;
  const TNamespaceLinks home = Home(instance, &path);
  return home.prefix_ + "/instance?path=" + UrlEncoded(path);
}

std::string TNamespaceLinks::InstancePicture(ICIMInstance& instance) const {
  std::string path;
  const TNamespaceLinks home = Home(instance, &path);
  return home.prefix_ + "/graph/instance.svg?path=" + UrlEncoded(path);
}

std::string TNamespaceLinks::NamespaceOf(ICIMInstance& instance) const {
  std::string path;
  return Home(instance, &path).name_;
}

TNamespaceLinks TNamespaceLinks::Home(ICIMInstance& instance, std::string* pathText) const {
  TCIMReference path = instance.GetReference(kNone);
  path.SetNameSpaceName("");  // the path within the namespace the address names
  *pathText = path.PathText();
  if (namespaces_ != nullptr) {
    const ICIMNamespace* repository = instance.GetClass(kNone)->GetNamespace(kNone).get();
    if (const TNamespaceRegistry::TEntry* entry = namespaces_->FindByRepository(repository)) return Of(entry->name);
  }
  return *this;
}
