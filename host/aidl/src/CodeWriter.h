#pragma once

#include <string>

namespace aidl_ndk_generator {

// Builds generated C++ text line by line with four-space indentation.
class CodeWriter {
  public:
    // Writes one line at the current indentation; an empty text writes an empty line.
    void line(const std::string& text = "");

    // Writes "<text> {" and indents what follows.
    void open(const std::string& text);

    // Unindents and writes "}" followed by the suffix (";" for classes, say).
    void close(const std::string& suffix = "");

    // Writes an access label one level out from the members it introduces.
    void label(const std::string& text);

    void indent() { ++depth_; }
    void dedent() { --depth_; }

    const std::string& text() const { return text_; }

  private:
    std::string text_;
    int depth_ = 0;
};

}  // namespace aidl_ndk_generator
