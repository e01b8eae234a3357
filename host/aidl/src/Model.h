#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace aidl_ndk_generator {

// What a type name stands for once resolved. Parsing leaves every type Unresolved; validation
// fills in the kind and, for user types, the fully qualified name.
enum class TypeKind {
    Unresolved,
    Void,
    Boolean,
    Int,
    Long,
    String,
    FileDescriptor,
    Record,
    Interface
};

struct TypeReference {
    std::string spelled_name;  // as written: "long", "NativeHandle", "a.b.NativeHandle"
    bool is_array = false;
    int line = 0;
    TypeKind kind = TypeKind::Unresolved;
    std::string qualified_name;    // user types only, after validation
    bool vintf_stability = false;  // user types only: whether the referenced type is VINTF-stable
};

enum class Direction { In, Out };

struct Parameter {
    Direction direction = Direction::In;
    bool direction_written = false;
    TypeReference type;
    std::string name;
    int line = 0;
};

struct Method {
    TypeReference return_type;
    std::string name;
    std::vector<Parameter> parameters;
    int line = 0;
};

enum class LiteralKind { Integer, Boolean, Float, String, Character };

// A constant as written in the source, checked against its field's type by validation.
struct Literal {
    LiteralKind kind = LiteralKind::Integer;
    bool negative = false;
    std::string text;
    int line = 0;
};

using ConstantValue = std::variant<bool, int64_t>;

struct Field {
    TypeReference type;
    std::string name;
    std::optional<Literal> default_literal;
    std::optional<ConstantValue> default_value;  // after validation
    int line = 0;
};

enum class DeclarationKind { Interface, Record };

struct Declaration {
    DeclarationKind kind = DeclarationKind::Record;
    std::string name;
    bool vintf_stability = false;
    int line = 0;
    std::vector<Method> methods;  // interfaces
    std::vector<Field> fields;    // records
};

struct Import {
    std::string qualified_name;
    int line = 0;
};

// One parsed .aidl file: a package, its imports and exactly one declaration.
struct Document {
    std::string path;
    std::string package;
    int package_line = 0;
    std::vector<Import> imports;
    Declaration declaration;

    std::string qualifiedName() const { return package + "." + declaration.name; }
};

}  // namespace aidl_ndk_generator
