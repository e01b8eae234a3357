#include "CodeWriter.h"

namespace aidl_ndk_generator {

void CodeWriter::line(const std::string& text) {
    if (!text.empty()) text_.append(static_cast<size_t>(depth_) * 4, ' ');
    text_ += text;
    text_ += '\n';
}

void CodeWriter::open(const std::string& text) {
    line(text + " {");
    ++depth_;
}

void CodeWriter::close(const std::string& suffix) {
    --depth_;
    line("}" + suffix);
}

void CodeWriter::label(const std::string& text) {
    --depth_;
    line(text);
    ++depth_;
}

}  // namespace aidl_ndk_generator
