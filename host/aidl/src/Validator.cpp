#include "Validator.h"

#include "DefaultValues.h"
#include "Names.h"
#include "SourceError.h"
#include "TypeResolver.h"

#include <set>

namespace aidl_ndk_generator {
namespace {

// Members the generated classes define themselves; a method or field of that name would clash.
const std::set<std::string>& reservedMethodNames() {
    static const std::set<std::string> kNames = {"getInterfaceVersion",
                                                 "getInterfaceHash",
                                                 "asBinder",
                                                 "isRemote",
                                                 "dump",
                                                 "fromBinder",
                                                 "writeToParcel",
                                                 "readFromParcel",
                                                 "descriptor",
                                                 "version",
                                                 "hash",
                                                 "createBinder"};
    return kNames;
}

const std::set<std::string>& reservedFieldNames() {
    static const std::set<std::string> kNames = {"descriptor", "readFromParcel", "writeToParcel",
                                                 "toString"};
    return kNames;
}

std::string describeType(const TypeReference& type) {
    return type.spelled_name + (type.is_array ? "[]" : "");
}

class Validator {
  public:
    Validator(Document& document, DeclarationIndex& index)
        : document_(document), resolver_(document, index) {}

    void run() {
        checkPackageAndPath();
        Declaration& declaration = document_.declaration;
        if (declaration.kind == DeclarationKind::Interface) {
            std::set<std::string> method_names;
            for (Method& method : declaration.methods) checkMethod(method, method_names);
        } else {
            std::set<std::string> field_names;
            for (Field& field : declaration.fields) checkField(field, field_names);
        }
    }

  private:
    [[noreturn]] void fail(int line, const std::string& message) const {
        throw SourceError(document_.path, line, message);
    }

    void checkPackageAndPath() {
        size_t start = 0;
        const std::string& package = document_.package;
        while (start <= package.size()) {
            size_t dot = package.find('.', start);
            std::string component = package.substr(start, dot - start);
            if (isReservedInCpp(component)) {
                fail(document_.package_line,
                     "package component '" + component + "' is reserved in C++");
            }
            if (dot == std::string::npos) break;
            start = dot + 1;
        }
        const Declaration& declaration = document_.declaration;
        checkMemberName(declaration.name, declaration.line, "type");
        // The file's place must follow its package, or imports could not find it.
        std::string expected = packagePath(package) + "/" + declaration.name + ".aidl";
        const std::string& path = document_.path;
        bool matches = path == expected || (path.size() > expected.size() &&
                                            path.compare(path.size() - expected.size(),
                                                         expected.size(), expected) == 0 &&
                                            path[path.size() - expected.size() - 1] == '/');
        if (!matches) {
            fail(declaration.line, declaration.name + " of package " + package +
                                           " must be in a file whose path ends with " + expected);
        }
    }

    void checkMemberName(const std::string& name, int line, const std::string& what) const {
        if (isReservedInCpp(name)) fail(line, what + " name '" + name + "' is reserved in C++");
        if (name.compare(0, 5, "_aidl") == 0) {
            fail(line, what + " name '" + name + "' uses the reserved prefix _aidl");
        }
    }

    void resolve(TypeReference& type) {
        resolver_.resolve(type);
        if (type.is_array) {
            bool element_supported = type.kind == TypeKind::Int || type.kind == TypeKind::Long ||
                                     type.kind == TypeKind::FileDescriptor ||
                                     type.kind == TypeKind::Record;
            if (!element_supported) {
                fail(type.line, "arrays of " + type.spelled_name + " are not supported");
            }
        }
        bool user_type = type.kind == TypeKind::Record || type.kind == TypeKind::Interface;
        if (user_type && document_.declaration.vintf_stability && !type.vintf_stability) {
            fail(type.line, type.qualified_name +
                                    " is not @VintfStability, so a @VintfStability type cannot "
                                    "use it");
        }
    }

    void checkMethod(Method& method, std::set<std::string>& method_names) {
        const Declaration& interface = document_.declaration;
        checkMemberName(method.name, method.line, "method");
        if (reservedMethodNames().count(method.name) != 0 || method.name == interface.name) {
            fail(method.line, "method name '" + method.name + "' is reserved");
        }
        if (!method_names.insert(method.name).second) {
            fail(method.line, "duplicate method '" + method.name + "'");
        }
        resolve(method.return_type);
        std::set<std::string> parameter_names;
        for (Parameter& parameter : method.parameters) {
            checkParameter(method, parameter);
            if (!parameter_names.insert(parameter.name).second) {
                fail(parameter.line, "duplicate parameter '" + parameter.name + "' in method '" +
                                             method.name + "'");
            }
        }
    }

    void checkParameter(const Method& method, Parameter& parameter) {
        TypeReference& type = parameter.type;
        resolve(type);
        std::string where = "parameter '" + parameter.name + "' of '" + method.name + "'";
        if (type.kind == TypeKind::Void) fail(type.line, where + " cannot be void");
        bool can_be_out = type.is_array || type.kind == TypeKind::Record;
        if (can_be_out && !parameter.direction_written) {
            fail(parameter.line,
                 where + " of type " + describeType(type) + " needs a direction: in or out");
        }
        if (!can_be_out && parameter.direction == Direction::Out) {
            fail(parameter.line, where +
                                         ": only arrays and parcelables can be out parameters, "
                                         "not " +
                                         describeType(type));
        }
    }

    void checkField(Field& field, std::set<std::string>& field_names) {
        const Declaration& record = document_.declaration;
        checkMemberName(field.name, field.line, "field");
        if (reservedFieldNames().count(field.name) != 0 || field.name == record.name) {
            fail(field.line, "field name '" + field.name + "' is reserved");
        }
        if (!field_names.insert(field.name).second) {
            fail(field.line, "duplicate field '" + field.name + "'");
        }
        resolve(field.type);
        const TypeReference& type = field.type;
        if (type.kind == TypeKind::Void)
            fail(type.line, "field '" + field.name + "' cannot be void");
        if (type.kind == TypeKind::Interface) {
            fail(type.line, "field '" + field.name + "' has interface type " + type.spelled_name +
                                    ": parcelable fields cannot be interfaces");
        }
        if (type.kind == TypeKind::Record && type.qualified_name == document_.qualifiedName()) {
            fail(type.line, "field '" + field.name + "': a parcelable cannot contain itself");
        }
        if (field.default_literal) field.default_value = convertDefaultValue(document_.path, field);
    }

    Document& document_;
    TypeResolver resolver_;
};

}  // namespace

void validateDocument(Document& document, DeclarationIndex& index) {
    Validator(document, index).run();
}

}  // namespace aidl_ndk_generator
