#include "validator/meta_schema.h"

namespace NPOSValidatorImpl {

// The separators between the tokens mean nothing to the parser, but they are part of the text,
// whose length is fixed.
// clang-format off
const char kMetaSchemaText[] =
    "<"
    "kInt\t\t\t< category string oneof [int] > "
    "kReal\t\t\t< category string oneof [real] > "
    "kString\t\t\t< category string oneof [string] > "
    "kUnicodeString\t\t< category string oneof [unicodestring] > "
    "kBinData\t\t< category string oneof [bindata] > "
    "kObjRef\t\t\t< category string oneof [objref] > "
    "kArray\t\t\t< category string oneof [array] > "
    "kDict\t\t\t< category string oneof [dict] > "
    "kUnion\t\t\t< category string oneof [union] > "
    "kIntersection\t\t< category string oneof [intersection] > "
    "StringList\t\t< category array membertype string > "
    "TypeName\t\t< category string minlen 1 > "
    "TypeList\t\t< category array membertype TypeName > "
    "IntDefn\t\t\t< category dict required\t\t< category kInt >"
        " optional\t\t< min int minexcl int max int maxexcl int> >"
    "RealDefn\t\t< category dict required\t\t< category kReal >"
        " optional\t\t< min real minexcl real max real maxexcl real> >"
    "StringDefn\t\t< category dict required\t\t< category kString >"
        " optional\t\t< minlen real    maxlen real    illegalchars string    oneof StringList > >"
    "UnicodeStringDefn < category dict required\t\t< category kUnicodeString >"
        " optional\t\t< minlen real    maxlen real > >"
    "BinDataDefn\t\t< category dict required\t\t< category kBinData >"
        " optional\t\t< minlen real    maxlen real    oneof StringList > >"
    "ObjRefDefn\t\t< category dict required\t\t< category kObjRef > >"
    "HomoArrayDefn\t\t< category dict required\t\t< category kArray membertype TypeName>"
        " optional\t\t< minlen real maxlen real > >"
    "HeteroArrayDefn< category dict required\t\t< category kArray membertype TypeList> >"
    "ArrayDefn < category union set [ HomoArrayDefn HeteroArrayDefn ] > "
    "DictMemberName\t\t< category string minlen 1 > "
    "DictMemberDict\t\t< category dict keytype DictMemberName valuetype TypeName > "
    "DictDefn\t\t< category dict required\t\t< category kDict >"
        " optional\t\t< keytype TypeName valuetype TypeName"
        " required DictMemberDict optional DictMemberDict > >"
    "UnionDefn\t\t< category dict required\t\t< category kUnion set TypeList > >"
    "IntersectionDefn\t< category dict required\t\t< category kIntersection set TypeList > >"
    "TypeDefn\t\t< category union set [ DictDefn ArrayDefn IntDefn RealDefn StringDefn "
        "UnicodeStringDefn BinDataDefn ObjRefDefn UnionDefn IntersectionDefn ] > "
    "StructSchema\t\t< category dict keytype TypeName valuetype TypeDefn > "
    ">";
// clang-format on

static_assert(sizeof(kMetaSchemaText) - 1 == 2175);

}  // namespace NPOSValidatorImpl
