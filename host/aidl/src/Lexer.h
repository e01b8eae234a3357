#pragma once

#include <string>
#include <vector>

namespace aidl_ndk_generator {

enum class TokenKind { Identifier, Integer, Float, String, Character, Symbol, End };

struct Token {
    TokenKind kind = TokenKind::End;
    std::string text;  // string and character literals keep their quotes
    int line = 0;
};

// Splits .aidl text into tokens, dropping whitespace and every kind of comment. The last token is
// always End. Throws SourceError for an unterminated comment or literal, a malformed number or a
// character that has no place in AIDL.
std::vector<Token> tokenize(const std::string& file, const std::string& text);

// How a token is quoted in messages: 'x' for a token, "end of file" for End.
std::string describeToken(const Token& token);

}  // namespace aidl_ndk_generator
