#include "vintf_manifest.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "log.h"

namespace host_binder {
namespace {

// The project's own fragments, when no folder is named.
#ifndef TESSARO_DEFAULT_VINTF_DIR
#define TESSARO_DEFAULT_VINTF_DIR ""
#endif

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return "";
    const size_t last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

// The value of attribute name in a tag's attribute text ("format=\"aidl\" optional=\"true\"").
std::string attributeValue(const std::string& attributes, const std::string& name) {
    size_t at = 0;
    while ((at = attributes.find(name, at)) != std::string::npos) {
        const bool starts_word =
                at == 0 || std::isspace(static_cast<unsigned char>(attributes[at - 1]));
        size_t cursor = at + name.size();
        while (cursor < attributes.size() &&
               std::isspace(static_cast<unsigned char>(attributes[cursor])))
            ++cursor;
        if (starts_word && cursor < attributes.size() && attributes[cursor] == '=') {
            ++cursor;
            while (cursor < attributes.size() &&
                   std::isspace(static_cast<unsigned char>(attributes[cursor])))
                ++cursor;
            if (cursor < attributes.size() &&
                (attributes[cursor] == '"' || attributes[cursor] == '\'')) {
                const size_t end = attributes.find(attributes[cursor], cursor + 1);
                if (end != std::string::npos)
                    return attributes.substr(cursor + 1, end - cursor - 1);
            }
            return "";
        }
        at = cursor;
    }
    return "";
}

// What one <hal> element declares, gathered while it is open.
struct HalElement {
    bool aidl = false;
    std::string package;
    std::vector<std::string> fqnames;
    std::vector<DeclaredInstance> interfaces;  // package-less: interface is the short name
    std::string interface_name;                // of the <interface> being read
    std::vector<std::string> interface_instances;

    void emitInto(std::vector<DeclaredInstance>* declared) const {
        if (!aidl || package.empty()) return;
        for (const std::string& fqname : fqnames) {
            const size_t slash = fqname.find('/');
            if (slash == std::string::npos || slash == 0 || slash + 1 == fqname.size()) continue;
            declared->push_back(
                    {package + "." + fqname.substr(0, slash), fqname.substr(slash + 1)});
        }
        for (const DeclaredInstance& entry : interfaces) {
            declared->push_back({package + "." + entry.interface, entry.instance});
        }
    }
};

class ManifestReader {
  public:
    ManifestReader(const std::string& text, const std::string& file_name)
        : text_(text), file_name_(file_name) {}

    std::vector<DeclaredInstance> read() {
        while (cursor_ < text_.size()) {
            const size_t open = text_.find('<', cursor_);
            text_since_tag_ += text_.substr(
                    cursor_, open == std::string::npos ? std::string::npos : open - cursor_);
            if (open == std::string::npos) break;
            if (!readMarkup(open)) return declared_;
        }
        if (!open_elements_.empty()) fault("<" + open_elements_.back() + "> is not closed");
        return declared_;
    }

  private:
    // Reads the markup that starts at open; false after a fault.
    bool readMarkup(size_t open) {
        if (text_.compare(open, 4, "<!--") == 0) return skipPast(open, "-->");
        if (text_.compare(open, 2, "<?") == 0) return skipPast(open, "?>");
        if (text_.compare(open, 2, "<!") == 0) return skipPast(open, ">");
        const size_t close = text_.find('>', open);
        if (close == std::string::npos) return fault("a tag is not closed");
        std::string tag = text_.substr(open + 1, close - open - 1);
        cursor_ = close + 1;
        if (!tag.empty() && tag[0] == '/') return closeElement(trimmed(tag.substr(1)));
        const bool self_closing = !tag.empty() && tag.back() == '/';
        if (self_closing) tag.pop_back();
        const size_t name_end = tag.find_first_of(" \t\r\n");
        const std::string name = tag.substr(0, name_end);
        const std::string attributes = name_end == std::string::npos ? "" : tag.substr(name_end);
        if (name.empty()) return fault("a tag has no name");
        openElement(name, attributes);
        return self_closing ? closeElement(name) : true;
    }

    bool skipPast(size_t open, const char* terminator) {
        const size_t end = text_.find(terminator, open);
        if (end == std::string::npos) return fault("markup is not closed");
        cursor_ = end + std::char_traits<char>::length(terminator);
        return true;
    }

    void openElement(const std::string& name, const std::string& attributes) {
        if (name == "hal") {
            hal_ = HalElement{};
            hal_.aidl = attributeValue(attributes, "format") == "aidl";
        } else if (name == "interface") {
            hal_.interface_name.clear();
            hal_.interface_instances.clear();
        }
        open_elements_.push_back(name);
        text_since_tag_.clear();
    }

    bool closeElement(const std::string& name) {
        if (open_elements_.empty() || open_elements_.back() != name) {
            return fault("</" + name + "> closes nothing open");
        }
        open_elements_.pop_back();
        const std::string parent = open_elements_.empty() ? "" : open_elements_.back();
        const std::string text = trimmed(text_since_tag_);
        text_since_tag_.clear();
        if (name == "name" && parent == "hal") hal_.package = text;
        if (name == "fqname" && parent == "hal") hal_.fqnames.push_back(text);
        if (name == "name" && parent == "interface") hal_.interface_name = text;
        if (name == "instance" && parent == "interface") hal_.interface_instances.push_back(text);
        if (name == "interface" && parent == "hal") {
            for (const std::string& instance : hal_.interface_instances) {
                hal_.interfaces.push_back({hal_.interface_name, instance});
            }
        }
        if (name == "hal") hal_.emitInto(&declared_);
        return true;
    }

    bool fault(const std::string& what) {
        logError("VINTF manifest %s: %s; what follows is not read", file_name_.c_str(),
                 what.c_str());
        return false;
    }

    const std::string& text_;
    const std::string& file_name_;
    size_t cursor_ = 0;
    std::vector<std::string> open_elements_;
    std::string text_since_tag_;
    HalElement hal_;
    std::vector<DeclaredInstance> declared_;
};

std::string manifestFolder() {
    const char* named = std::getenv("TESSARO_VINTF_DIR");
    return named != nullptr && named[0] != '\0' ? named : TESSARO_DEFAULT_VINTF_DIR;
}

std::vector<std::string> manifestFiles(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (entry.path().extension() == ".xml") files.push_back(entry.path().string());
    }
    if (error) {
        logError("VINTF manifest folder '%s' cannot be read (%s); no instance is declared",
                 folder.c_str(), error.message().c_str());
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

std::vector<DeclaredInstance> parseManifest(const std::string& text, const std::string& file_name) {
    return ManifestReader(text, file_name).read();
}

std::vector<DeclaredInstance> declaredInstances() {
    std::vector<DeclaredInstance> declared;
    for (const std::string& file : manifestFiles(manifestFolder())) {
        std::ifstream stream(file);
        std::stringstream text;
        text << stream.rdbuf();
        for (DeclaredInstance& entry : parseManifest(text.str(), file)) {
            declared.push_back(std::move(entry));
        }
    }
    return declared;
}

}  // namespace host_binder
