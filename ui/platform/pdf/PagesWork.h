// What takes a document more than one request.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "crypto/LxDescriptor.h"
#include "ui/platform/pdf/Pages.h"

namespace Lx::Pdf {

// Of processes that read and search, for those that draw.
[[nodiscard]] Crew::Limits LimitsOfReading(Crew::Limits limits);

struct Pages::Searching {
    Id id = 0;
    std::string pattern;
    bool exact = false;
    Done<SearchNews> news;
    // First and count of pages that nobody searches yet, by who shall: each keeps the text of its own for next time.
    std::deque<std::pair<int32_t, int32_t>> ranges[2];
    std::vector<Id> jobs;  // under way
    int32_t pages = 0, pagesDone = 0;
    int failures = 0;
};

// A file that is being written, which goes again unless it becomes whole.
struct Pages::Saving {
    ~Saving();

    Id id = 0;
    int32_t index = 0;
    std::string path;
    Api::Descriptor file;
    uint64_t written = 0;
    Done<std::string> done;
};

}  // namespace Lx::Pdf
