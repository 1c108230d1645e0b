// Properties over declarations of one class, for the value and display
// tests: each call declares a new property with the given prototype and
// qualifiers and returns a TInmemProperty over it.

#ifndef INMEM_TESTS_SUPPORT_PROPERTY_FIXTURE_H_
#define INMEM_TESTS_SUPPORT_PROPERTY_FIXTURE_H_

#include <string>
#include <vector>

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include "property/inmem_property.h"
#include "tests/support/schema_builder.h"

class PropertyFixture : public testing::Test {
 protected:
  void SetUp() override { class_ = schema_.Class("Thing", "", {{"ABSTRACT", TCIMValue(true)}}); }

  boost::shared_ptr<TInmemProperty> Property(const TCIMValue& prototype,
                                             const std::vector<TQualifierSpec>& qualifiers = {}) {
    auto decl = schema_.Property(class_, "P" + std::to_string(++count_), prototype, qualifiers);
    return boost::make_shared<TInmemProperty>(decl);
  }

  // A string array for ValueMap and Values.
  static TCIMValue Strings(const std::vector<std::string>& texts) {
    std::vector<TCIMValue> elements(texts.begin(), texts.end());
    return TCIMValue(kCIMTypeString, elements);
  }

  TSchemaBuilder schema_;
  boost::shared_ptr<ICIMClass> class_;
  int count_ = 0;
};

#endif  // INMEM_TESTS_SUPPORT_PROPERTY_FIXTURE_H_
