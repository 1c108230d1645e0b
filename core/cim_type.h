// The CIM data types.
//
// ECIMType numbers every CIM scalar type; the array of a scalar type is that
// number plus kCIMTypeArrayFlag (16). The numbers are part of the contract
// with the repository plug-in, which compares against them, so they never
// change. kCIMTypeNone is the type of an untyped null and has no array form.

#ifndef INMEM_CORE_CIM_TYPE_H_
#define INMEM_CORE_CIM_TYPE_H_

#include <ostream>
#include <string>

enum ECIMType : int {
  kCIMTypeNone = 0,
  kCIMTypeBoolean = 1,
  kCIMTypeUint8 = 2,
  kCIMTypeSint8 = 3,
  kCIMTypeUint16 = 4,
  kCIMTypeSint16 = 5,
  kCIMTypeUint32 = 6,
  kCIMTypeSint32 = 7,
  kCIMTypeUint64 = 8,
  kCIMTypeSint64 = 9,
  kCIMTypeReal32 = 10,
  kCIMTypeReal64 = 11,
  kCIMTypeChar16 = 12,
  kCIMTypeString = 13,
  kCIMTypeDateTime = 14,
  kCIMTypeReference = 15,
  kCIMTypeArrayFlag = 16,
};

// True for the scalar types 1 to 15 and their arrays 17 to 31.
bool IsValidCIMType(int type);

inline bool IsArrayType(ECIMType type) { return (type & kCIMTypeArrayFlag) != 0; }
inline ECIMType ElementTypeOf(ECIMType type) {
  return static_cast<ECIMType>(type & ~kCIMTypeArrayFlag);
}
inline ECIMType ArrayTypeOf(ECIMType elementType) {
  return static_cast<ECIMType>(elementType | kCIMTypeArrayFlag);
}
inline bool IsUnsignedIntegerType(ECIMType t) {
  return t == kCIMTypeUint8 || t == kCIMTypeUint16 || t == kCIMTypeUint32 ||
         t == kCIMTypeUint64;
}
inline bool IsSignedIntegerType(ECIMType t) {
  return t == kCIMTypeSint8 || t == kCIMTypeSint16 || t == kCIMTypeSint32 ||
         t == kCIMTypeSint64;
}
inline bool IsRealType(ECIMType t) {
  return t == kCIMTypeReal32 || t == kCIMTypeReal64;
}

// The CIM name of a type: "uint16", "string", "reference", "uint16[]";
// "none" for kCIMTypeNone and "invalid" for a number outside the table.
std::string CIMTypeName(ECIMType type);

// The type named by a CIM type keyword in any letter case ("Uint16",
// "STRING", "DateTime"); arrays are not named this way. Returns false and
// leaves *type alone for an unknown word.
bool ParseCIMTypeName(const std::string& word, ECIMType* type);

#endif  // INMEM_CORE_CIM_TYPE_H_
