// VisitAssociationEnds: each reference property resolved to its instance.

#include "browser/association_ends.h"

#include "core/tyl_exception.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"

void VisitAssociationEnds(
    ICIMInstance& association,
    const std::function<void(const std::string& role, const boost::shared_ptr<ICIMInstance>& end)>& visit) {
  const TContext none;
  association.EnumerateProperties(
      [&](boost::shared_ptr<ICIMProperty> property) {
        const TCIMValue& value = property->GetValue(none);
        if (!value.IsReference() || value.IsNull()) return true;
        boost::shared_ptr<ICIMInstance> end;
        try {
          end = boost::dynamic_pointer_cast<ICIMInstance>(value.GetReference().GetCIMElement(false));
        } catch (const TTYLException&) {
          return true;  // leads nowhere
        }
        if (end) visit(property->GetDecl(none)->GetName(none), end);
        return true;
      },
      none);
}
