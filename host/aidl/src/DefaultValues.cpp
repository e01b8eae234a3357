#include "DefaultValues.h"

#include "SourceError.h"

#include <cctype>
#include <cstdint>
#include <limits>

namespace aidl_ndk_generator {
namespace {

struct IntegerText {
    bool hexadecimal = false;
    bool long_suffix = false;
    uint64_t magnitude = 0;
};

IntegerText readIntegerText(const std::string& file, const Literal& literal) {
    IntegerText result;
    std::string digits = literal.text;
    if (!digits.empty() && (digits.back() == 'l' || digits.back() == 'L')) {
        result.long_suffix = true;
        digits.pop_back();
    }
    unsigned base = 10;
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
        result.hexadecimal = true;
        base = 16;
        digits = digits.substr(2);
    }
    for (char digit : digits) {
        unsigned value = std::isdigit(static_cast<unsigned char>(digit))
                                 ? static_cast<unsigned>(digit - '0')
                                 : static_cast<unsigned>(std::tolower(digit) - 'a' + 10);
        if (result.magnitude > (std::numeric_limits<uint64_t>::max() - value) / base) {
            throw SourceError(file, literal.line, "value " + literal.text + " is too large");
        }
        result.magnitude = result.magnitude * base + value;
    }
    return result;
}

// Hexadecimal text is a bit pattern of the type's width; decimal text is a magnitude.
int64_t integerValue(const std::string& file, const Literal& literal, bool is_long) {
    IntegerText text = readIntegerText(file, literal);
    std::string shown = (literal.negative ? "-" : "") + literal.text;
    std::string type_name = is_long ? "long" : "int";
    if (text.long_suffix && !is_long) {
        throw SourceError(file, literal.line, "the L suffix of " + shown + " is for long values");
    }
    const uint64_t bit_count = is_long ? 64 : 32;
    const uint64_t largest_positive = (uint64_t{1} << (bit_count - 1)) - 1;
    if (text.hexadecimal) {
        if (!is_long && text.magnitude > 0xffffffffu) {
            throw SourceError(file, literal.line, shown + " does not fit in an int");
        }
        int64_t pattern = is_long ? static_cast<int64_t>(text.magnitude)
                                  : static_cast<int32_t>(static_cast<uint32_t>(text.magnitude));
        if (!literal.negative) return pattern;
        if (pattern == std::numeric_limits<int64_t>::min() ||
            (!is_long && pattern == std::numeric_limits<int32_t>::min())) {
            throw SourceError(file, literal.line, shown + " does not fit in " + type_name);
        }
        return -pattern;
    }
    uint64_t limit = literal.negative ? largest_positive + 1 : largest_positive;
    if (text.magnitude > limit) {
        throw SourceError(file, literal.line, shown + " does not fit in " + type_name);
    }
    if (!literal.negative) return static_cast<int64_t>(text.magnitude);
    if (text.magnitude == largest_positive + 1) {
        return is_long ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int32_t>::min();
    }
    return -static_cast<int64_t>(text.magnitude);
}

}  // namespace

ConstantValue convertDefaultValue(const std::string& file, const Field& field) {
    const Literal& literal = *field.default_literal;
    const TypeReference& type = field.type;
    bool takes_default =
            !type.is_array && (type.kind == TypeKind::Boolean || type.kind == TypeKind::Int ||
                               type.kind == TypeKind::Long);
    if (!takes_default) {
        throw SourceError(file, literal.line,
                          "field '" + field.name +
                                  "': default values are supported only for boolean, int and "
                                  "long fields");
    }
    if (type.kind == TypeKind::Boolean) {
        if (literal.kind != LiteralKind::Boolean) {
            throw SourceError(file, literal.line,
                              "field '" + field.name +
                                      "' is a boolean: its default must be "
                                      "true or false");
        }
        return literal.text == "true";
    }
    if (literal.kind != LiteralKind::Integer) {
        throw SourceError(file, literal.line,
                          "field '" + field.name +
                                  "' is an integer: its default must be an "
                                  "integer constant, not " +
                                  literal.text);
    }
    return integerValue(file, literal, type.kind == TypeKind::Long);
}

}  // namespace aidl_ndk_generator
