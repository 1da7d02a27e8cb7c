// The text and the links of the pages that were looked at last.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "ui/LxPages.h"

namespace Lx {

class PageTexts {
  public:
    static constexpr size_t kPages = 16;

    // Null while it isn't there. Valid until the next Put.
    [[nodiscard]] const Pdf::PageText* TextOf(int32_t page) const;
    [[nodiscard]] const std::vector<Pdf::Link>* LinksOf(int32_t page) const;
    void PutText(int32_t page, Pdf::PageText text);
    void PutLinks(int32_t page, std::vector<Pdf::Link> links);
    void Clear() { pages_.clear(); }

  private:
    struct Entry {
        std::optional<Pdf::PageText> text;
        std::optional<std::vector<Pdf::Link>> links;
        uint64_t used = 0;
    };
    const Entry* Find(int32_t page) const;
    Entry& Place(int32_t page);

    mutable std::map<int32_t, Entry> pages_;
    mutable uint64_t clock_ = 0;
};

}  // namespace Lx
