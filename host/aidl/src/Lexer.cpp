#include "Lexer.h"

#include "SourceError.h"

#include <cctype>
#include <cstdio>

namespace aidl_ndk_generator {
namespace {

bool isIdentifierStart(char character) {
    return std::isalpha(static_cast<unsigned char>(character)) || character == '_';
}

bool isIdentifierPart(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) || character == '_';
}

bool isHexDigits(const std::string& digits) {
    if (digits.empty()) return false;
    for (char digit : digits) {
        if (!std::isxdigit(static_cast<unsigned char>(digit))) return false;
    }
    return true;
}

bool isDecimalDigits(const std::string& digits) {
    if (digits.empty()) return false;
    for (char digit : digits) {
        if (!std::isdigit(static_cast<unsigned char>(digit))) return false;
    }
    return true;
}

// Integers are decimal or 0x-hexadecimal with an optional L suffix; anything with a point or an
// exponent is a floating-point number, which the parser refuses with its own message.
TokenKind classifyNumber(const std::string& file, int line, const std::string& text) {
    std::string body = text;
    if (!body.empty() && (body.back() == 'l' || body.back() == 'L')) body.pop_back();
    if (body.size() > 2 && body[0] == '0' && (body[1] == 'x' || body[1] == 'X')) {
        if (isHexDigits(body.substr(2))) return TokenKind::Integer;
    } else if (isDecimalDigits(body)) {
        return TokenKind::Integer;
    }
    if (text.find('.') != std::string::npos || text.find_first_of("eE") != std::string::npos) {
        return TokenKind::Float;
    }
    throw SourceError(file, line, "malformed number '" + text + "'");
}

class Lexer {
  public:
    Lexer(const std::string& file, const std::string& text) : file_(file), text_(text) {}

    std::vector<Token> run() {
        std::vector<Token> tokens;
        while (skipBlanksAndComments()) tokens.push_back(nextToken());
        tokens.push_back(Token{TokenKind::End, "", line_});
        return tokens;
    }

  private:
    char peek(size_t ahead = 0) const {
        return position_ + ahead < text_.size() ? text_[position_ + ahead] : '\0';
    }

    void advance() {
        if (text_[position_] == '\n') ++line_;
        ++position_;
    }

    // Returns whether a token follows.
    bool skipBlanksAndComments() {
        while (position_ < text_.size()) {
            char character = peek();
            if (character == ' ' || character == '\t' || character == '\r' || character == '\n' ||
                character == '\f') {
                advance();
            } else if (character == '/' && peek(1) == '/') {
                while (position_ < text_.size() && peek() != '\n') advance();
            } else if (character == '/' && peek(1) == '*') {
                int start_line = line_;
                advance();
                advance();
                while (position_ < text_.size() && !(peek() == '*' && peek(1) == '/')) advance();
                if (position_ >= text_.size()) {
                    throw SourceError(file_, start_line, "unterminated comment");
                }
                advance();
                advance();
            } else {
                return true;
            }
        }
        return false;
    }

    Token nextToken() {
        char character = peek();
        if (isIdentifierStart(character)) return takeWhile(TokenKind::Identifier, isIdentifierPart);
        if (std::isdigit(static_cast<unsigned char>(character))) return takeNumber();
        if (character == '"' || character == '\'') return takeQuoted(character);
        static const std::string kSymbols = "{}()[]<>;,=.@-+*/%|&^~!?:";
        if (kSymbols.find(character) != std::string::npos) {
            Token token{TokenKind::Symbol, std::string(1, character), line_};
            advance();
            return token;
        }
        char description[64];
        if (std::isprint(static_cast<unsigned char>(character))) {
            std::snprintf(description, sizeof(description), "unexpected character '%c'", character);
        } else {
            std::snprintf(description, sizeof(description), "unexpected byte 0x%02x",
                          static_cast<unsigned char>(character));
        }
        throw SourceError(file_, line_, description);
    }

    Token takeWhile(TokenKind kind, bool (*belongs)(char)) {
        Token token{kind, "", line_};
        while (position_ < text_.size() && belongs(peek())) {
            token.text += peek();
            advance();
        }
        return token;
    }

    Token takeNumber() {
        Token token{TokenKind::Integer, "", line_};
        while (position_ < text_.size()) {
            char character = peek();
            bool exponent_sign = (character == '+' || character == '-') && !token.text.empty() &&
                                 (token.text.back() == 'e' || token.text.back() == 'E') &&
                                 token.text.find_first_of("xX") == std::string::npos;
            if (!isIdentifierPart(character) && character != '.' && !exponent_sign) break;
            token.text += character;
            advance();
        }
        token.kind = classifyNumber(file_, token.line, token.text);
        return token;
    }

    Token takeQuoted(char quote) {
        Token token{quote == '"' ? TokenKind::String : TokenKind::Character, "", line_};
        token.text += quote;
        advance();
        while (true) {
            if (position_ >= text_.size() || peek() == '\n') {
                throw SourceError(file_, token.line,
                                  quote == '"' ? "unterminated string" : "unterminated character");
            }
            char character = peek();
            token.text += character;
            advance();
            if (character == '\\' && position_ < text_.size() && peek() != '\n') {
                token.text += peek();
                advance();
            } else if (character == quote) {
                return token;
            }
        }
    }

    const std::string& file_;
    const std::string& text_;
    size_t position_ = 0;
    int line_ = 1;
};

}  // namespace

std::vector<Token> tokenize(const std::string& file, const std::string& text) {
    return Lexer(file, text).run();
}

std::string describeToken(const Token& token) {
    if (token.kind == TokenKind::End) return "end of file";
    return "'" + token.text + "'";
}

}  // namespace aidl_ndk_generator
