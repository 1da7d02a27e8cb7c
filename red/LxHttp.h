// The program's one way to the network.
#pragma once

#include <string>

namespace Lx::Api {

struct HttpResult {
    int status = 0;     // HTTP response code, 0 when there was no response
    std::string body;   // as received
    std::string error;  // empty when the transport worked (4xx and 5xx included), else one sentence
};

// Posts a JSON text through libcurl, which is opened at first use. http and https only, no redirection is followed, and
// an answer over 16 MiB is an error. `timeoutMs` below 1 means 15000.
[[nodiscard]] HttpResult PostJson(const std::string& url, const std::string& json, int timeoutMs);

}  // namespace Lx::Api
