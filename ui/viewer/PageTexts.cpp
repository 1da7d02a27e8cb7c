#include "ui/viewer/PageTexts.h"

#include <algorithm>
#include <utility>

namespace Lx {

const PageTexts::Entry* PageTexts::Find(int32_t page) const {
    const auto it = pages_.find(page);
    if (it == pages_.end()) return nullptr;
    it->second.used = ++clock_;
    return &it->second;
}

PageTexts::Entry& PageTexts::Place(int32_t page) {
    Entry& entry = pages_[page];
    entry.used = ++clock_;
    if (pages_.size() > kPages) {
        pages_.erase(std::min_element(pages_.begin(), pages_.end(),
                                      [](const auto& a, const auto& b) { return a.second.used < b.second.used; }));
    }
    return entry;
}

const Pdf::PageText* PageTexts::TextOf(int32_t page) const {
    const Entry* const entry = Find(page);
    return entry && entry->text ? &*entry->text : nullptr;
}

const std::vector<Pdf::Link>* PageTexts::LinksOf(int32_t page) const {
    const Entry* const entry = Find(page);
    return entry && entry->links ? &*entry->links : nullptr;
}

void PageTexts::PutText(int32_t page, Pdf::PageText text) {
    Place(page).text = std::move(text);
}

void PageTexts::PutLinks(int32_t page, std::vector<Pdf::Link> links) {
    Place(page).links = std::move(links);
}

}  // namespace Lx
