// Readable values in the tests' failure messages.
#pragma once

#include <ostream>

#include "snmp/snmp_tree.h"

namespace lldpsnmp {

inline void PrintTo(const Value& v, std::ostream* os) {
  *os << valueTypeName(v.type) << ' ';
  if (v.type == Value::Type::OctetString) {
    *os << '"';
    for (uint8_t b : v.bytes) {
      if (b >= 32 && b < 127)
        *os << static_cast<char>(b);
      else
        *os << "\\x"
            << "0123456789abcdef"[b >> 4] << "0123456789abcdef"[b & 15];
    }
    *os << '"';
  } else if (v.type == Value::Type::ObjectId) {
    *os << oidStr(v.oid);
  } else {
    *os << v.num;
  }
}
inline void PrintTo(const VarBind& b, std::ostream* os) {
  *os << oidStr(b.name) << " = ";
  PrintTo(b.value, os);
}
inline void PrintTo(SetStatus s, std::ostream* os) { *os << setStatusName(s); }
inline void PrintTo(GetResult::Status s, std::ostream* os) {
  const char* names[] = {"Ok", "NoSuchObject", "NoSuchInstance", "Unavailable"};
  *os << names[static_cast<int>(s)];
}

}  // namespace lldpsnmp
