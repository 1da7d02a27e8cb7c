#include "ui/LxBackend.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace Lx {

namespace {

using std::string_view;

constexpr size_t kLongestAddress = 8192;
// Some mail programs attach any file that an address names.
constexpr string_view kMailFields[] = {"to", "cc", "bcc", "subject", "body"};

// ASCII letters in either case are the same; `lower` is lower case.
bool Same(string_view text, string_view lower) {
    const auto same = [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; };
    return text.size() == lower.size() && std::equal(text.begin(), text.end(), lower.begin(), same);
}

bool IsMailField(string_view field) {
    const string_view name = field.substr(0, field.find('='));
    return std::any_of(std::begin(kMailFields), std::end(kMailFields),
                       [name](string_view known) { return Same(name, known); });
}

bool IsPlainMail(string_view rest) {
    const size_t query = rest.find('?');
    if (query == string_view::npos) return !rest.empty();
    for (string_view fields = rest.substr(query + 1);;) {
        const size_t end = fields.find('&');
        if (!IsMailField(fields.substr(0, end))) return false;
        if (end == string_view::npos) return true;
        fields.remove_prefix(end + 1);
    }
}

}  // namespace

bool IsPublicAddress(const std::string& address) {
    const bool clean = address.size() <= kLongestAddress &&
                       std::all_of(address.begin(), address.end(), [](char c) { return c > ' ' && c < 127; });
    const size_t colon = address.find(':');
    if (!clean || colon == std::string::npos) return false;
    const string_view scheme = string_view(address).substr(0, colon), rest = string_view(address).substr(colon + 1);
    if (Same(scheme, "mailto")) return IsPlainMail(rest);
    const bool web = Same(scheme, "http") || Same(scheme, "https");
    return web && rest.size() > 2 && rest.starts_with("//") && rest[2] != '/';
}

}  // namespace Lx
