#include "FailureList.h"

#include <cerrno>
#include <charconv>
#include <optional>
#include <utility>

namespace dravik::reference {

namespace {

constexpr std::pair<std::string_view, int> kErrorNames[] = {
        {"EPERM", EPERM},
        {"ENOENT", ENOENT},
        {"EINTR", EINTR},
        {"EIO", EIO},
        {"ENXIO", ENXIO},
        {"ENOEXEC", ENOEXEC},
        {"EBADF", EBADF},
        {"EAGAIN", EAGAIN},
        {"ENOMEM", ENOMEM},
        {"EACCES", EACCES},
        {"EFAULT", EFAULT},
        {"EBUSY", EBUSY},
        {"EEXIST", EEXIST},
        {"ENODEV", ENODEV},
        {"EINVAL", EINVAL},
        {"EMFILE", EMFILE},
        {"ENOSPC", ENOSPC},
        {"ERANGE", ERANGE},
        {"ENOSYS", ENOSYS},
        {"ETIME", ETIME},
        {"ETIMEDOUT", ETIMEDOUT},
        {"ENOTSUP", ENOTSUP},
        {"EOPNOTSUPP", EOPNOTSUPP},
        {"ECANCELED", ECANCELED},
        {"ENAMETOOLONG", ENAMETOOLONG},
        {"EOVERFLOW", EOVERFLOW},
        {"EPIPE", EPIPE},
};

std::string_view trim(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t");
    return text.substr(first, last - first + 1);
}

std::optional<int> parseErrorNumber(std::string_view text) {
    for (const auto& [name, value] : kErrorNames) {
        if (name == text) return value;
    }
    int value = 0;
    const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (status == std::errc() && end == text.data() + text.size() && value > 0) return value;
    return std::nullopt;
}

}  // namespace

FailureList parseFailureList(std::string_view text) {
    FailureList list;
    while (!text.empty()) {
        const auto comma = text.find(',');
        const std::string_view entry = trim(text.substr(0, comma));
        text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
        if (entry.empty()) continue;

        const auto colon = entry.find(':');
        const std::optional<Operation> operation = findOperation(trim(entry.substr(0, colon)));
        std::optional<int> error;
        if (operation && colon == std::string_view::npos) {
            error = defaultInjectedError(*operation);
        } else if (operation) {
            error = parseErrorNumber(trim(entry.substr(colon + 1)));
        }
        if (!operation || !error) {
            list.ignored_entries.emplace_back(entry);
            continue;
        }
        list.errors[static_cast<std::size_t>(*operation)] = *error;
    }
    return list;
}

}  // namespace dravik::reference
