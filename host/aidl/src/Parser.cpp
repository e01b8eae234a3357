#include "Parser.h"

#include "FileText.h"
#include "Lexer.h"
#include "SourceError.h"

#include <set>

namespace aidl_ndk_generator {
namespace {

bool isAidlKeyword(const std::string& word) {
    static const std::set<std::string> kKeywords = {
            "package", "import", "parcelable", "interface", "union", "enum",  "oneway",
            "in",      "out",    "inout",      "const",     "true",  "false", "void"};
    return kKeywords.count(word) != 0;
}

class Parser {
  public:
    Parser(const std::string& path, std::vector<Token> tokens)
        : path_(path), tokens_(std::move(tokens)) {}

    Document parse() {
        Document document;
        document.path = path_;
        if (!isWord("package")) fail(current().line, "expected 'package' at the start of the file");
        document.package_line = take().line;
        document.package = parseQualifiedName("package name");
        expectSymbol(";", "after the package name");
        while (isWord("import")) {
            Import import;
            import.line = take().line;
            import.qualified_name = parseQualifiedName("imported type");
            expectSymbol(";", "after the import");
            document.imports.push_back(import);
        }
        document.declaration = parseDeclaration();
        if (current().kind != TokenKind::End) {
            fail(current().line, "only one declaration per file is supported, found " +
                                         describeToken(current()) + " after it");
        }
        return document;
    }

  private:
    const Token& current() const { return tokens_[position_]; }

    const Token& take() {
        const Token& token = tokens_[position_];
        if (token.kind != TokenKind::End) ++position_;
        return token;
    }

    bool isWord(const char* word) const {
        return current().kind == TokenKind::Identifier && current().text == word;
    }

    bool isSymbol(const char* symbol) const {
        return current().kind == TokenKind::Symbol && current().text == symbol;
    }

    [[noreturn]] void fail(int line, const std::string& message) const {
        throw SourceError(path_, line, message);
    }

    // A missing token is reported on the line of what precedes it: that is where it belongs.
    [[noreturn]] void failExpected(const std::string& expected, const std::string& context) const {
        int line = position_ > 0 ? tokens_[position_ - 1].line : current().line;
        fail(line, "expected " + expected + " " + context + ", found " + describeToken(current()));
    }

    void expectSymbol(const char* symbol, const std::string& context) {
        if (!isSymbol(symbol)) failExpected(std::string("'") + symbol + "'", context);
        take();
    }

    std::string parseName(const std::string& what) {
        if (current().kind != TokenKind::Identifier) failExpected(what, "here");
        if (isAidlKeyword(current().text)) {
            fail(current().line, "'" + current().text + "' is a keyword and cannot be a " + what);
        }
        return take().text;
    }

    std::string parseQualifiedName(const std::string& what) {
        std::string name = parseName(what);
        while (isSymbol(".")) {
            take();
            name += "." + parseName(what);
        }
        return name;
    }

    // Only @VintfStability exists in the supported subset, and only on a declaration.
    bool parseAnnotations(bool on_declaration) {
        bool vintf_stability = false;
        while (isSymbol("@")) {
            int line = take().line;
            std::string name = parseName("annotation name");
            if (!on_declaration || name != "VintfStability") {
                fail(line,
                     "annotation @" + name + " is not supported" + (on_declaration ? "" : " here"));
            }
            if (isSymbol("(")) fail(line, "annotation @" + name + " takes no arguments");
            if (vintf_stability) fail(line, "annotation @" + name + " is repeated");
            vintf_stability = true;
        }
        return vintf_stability;
    }

    void refuseUnsupportedMember() {
        const Token& token = current();
        if (isWord("oneway")) fail(token.line, "oneway methods are not supported");
        if (isWord("const")) fail(token.line, "constants are not supported");
        if (isWord("parcelable") || isWord("interface") || isWord("enum") || isWord("union")) {
            fail(token.line, "nested declarations are not supported");
        }
    }

    Declaration parseDeclaration() {
        Declaration declaration;
        declaration.vintf_stability = parseAnnotations(true);
        const Token& keyword = current();
        declaration.line = keyword.line;
        if (isWord("oneway")) fail(keyword.line, "oneway interfaces are not supported");
        if (isWord("union")) fail(keyword.line, "unions are not supported");
        if (isWord("enum")) fail(keyword.line, "enums are not supported");
        if (isWord("interface")) {
            declaration.kind = DeclarationKind::Interface;
        } else if (isWord("parcelable")) {
            declaration.kind = DeclarationKind::Record;
        } else {
            failExpected("'interface' or 'parcelable'", "for the declaration");
        }
        take();
        declaration.name = parseName("type name");
        if (isSymbol("<")) fail(current().line, "generic parcelables are not supported");
        if (declaration.kind == DeclarationKind::Record && isSymbol(";")) {
            fail(current().line, "parcelables without fields (unstructured) are not supported");
        }
        expectSymbol("{", "after '" + declaration.name + "'");
        while (!isSymbol("}")) {
            if (current().kind == TokenKind::End) failExpected("'}'", "to close the declaration");
            if (declaration.kind == DeclarationKind::Interface) {
                declaration.methods.push_back(parseMethod());
            } else {
                declaration.fields.push_back(parseField());
            }
        }
        take();
        return declaration;
    }

    TypeReference parseType() {
        TypeReference type;
        type.line = current().line;
        if (current().kind != TokenKind::Identifier) failExpected("a type", "here");
        if (isAidlKeyword(current().text) && current().text != "void") {
            fail(current().line, "expected a type, found keyword '" + current().text + "'");
        }
        type.spelled_name = take().text;
        while (isSymbol(".")) {
            take();
            type.spelled_name += "." + parseName("type name");
        }
        if (isSymbol("<")) {
            fail(current().line,
                 "generic types such as " + type.spelled_name + "<...> are not supported");
        }
        if (isSymbol("[")) {
            take();
            if (!isSymbol("]")) fail(current().line, "fixed-size arrays are not supported");
            take();
            type.is_array = true;
            if (isSymbol("[")) fail(current().line, "arrays of arrays are not supported");
        }
        return type;
    }

    Method parseMethod() {
        parseAnnotations(false);
        refuseUnsupportedMember();
        Method method;
        method.line = current().line;
        method.return_type = parseType();
        method.name = parseName("method name");
        expectSymbol("(", "after method name '" + method.name + "'");
        if (!isSymbol(")")) {
            method.parameters.push_back(parseParameter());
            while (isSymbol(",")) {
                take();
                method.parameters.push_back(parseParameter());
            }
        }
        expectSymbol(")", "after the parameters of '" + method.name + "'");
        if (isSymbol("=")) fail(current().line, "explicit transaction codes are not supported");
        expectSymbol(";", "after method '" + method.name + "'");
        return method;
    }

    Parameter parseParameter() {
        parseAnnotations(false);
        Parameter parameter;
        parameter.line = current().line;
        if (isWord("inout")) fail(current().line, "inout parameters are not supported");
        if (isWord("in") || isWord("out")) {
            parameter.direction = current().text == "in" ? Direction::In : Direction::Out;
            parameter.direction_written = true;
            take();
            parseAnnotations(false);
        }
        parameter.type = parseType();
        parameter.name = parseName("parameter name");
        return parameter;
    }

    Field parseField() {
        parseAnnotations(false);
        refuseUnsupportedMember();
        Field field;
        field.line = current().line;
        field.type = parseType();
        field.name = parseName("field name");
        if (isSymbol("=")) {
            take();
            field.default_literal = parseLiteral();
        }
        expectSymbol(";", "after field '" + field.name + "'");
        return field;
    }

    Literal parseLiteral() {
        Literal literal;
        literal.line = current().line;
        if (isSymbol("-")) {
            take();
            literal.negative = true;
        }
        const Token& token = current();
        switch (token.kind) {
            case TokenKind::Integer:
                literal.kind = LiteralKind::Integer;
                break;
            case TokenKind::Float:
                literal.kind = LiteralKind::Float;
                break;
            case TokenKind::String:
                literal.kind = LiteralKind::String;
                break;
            case TokenKind::Character:
                literal.kind = LiteralKind::Character;
                break;
            case TokenKind::Identifier:
                if (token.text != "true" && token.text != "false") {
                    fail(token.line,
                         "default values must be literal constants, found '" + token.text + "'");
                }
                literal.kind = LiteralKind::Boolean;
                break;
            default:
                failExpected("a constant value", "after '='");
        }
        literal.text = take().text;
        if (literal.negative && literal.kind != LiteralKind::Integer &&
            literal.kind != LiteralKind::Float) {
            fail(literal.line, "'-' applies only to numbers");
        }
        static const std::string kOperators = "+-*/%|&^~<>!?:()";
        if (current().kind == TokenKind::Symbol &&
            kOperators.find(current().text) != std::string::npos) {
            fail(current().line, "constant expressions are not supported, found " +
                                         describeToken(current()) + " after the value");
        }
        return literal;
    }

    const std::string& path_;
    std::vector<Token> tokens_;
    size_t position_ = 0;
};

}  // namespace

Document parseDocument(const std::string& path, const std::string& text) {
    return Parser(path, tokenize(path, text)).parse();
}

Document parseFile(const std::string& path) {
    std::string text;
    if (!readFileText(path, text)) throw SourceError(path, 0, "cannot read the file");
    return parseDocument(path, text);
}

}  // namespace aidl_ndk_generator
