// The hits of a search, in the order of the document, while they are found.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ui/LxPages.h"
#include "ui/viewer/LxDocView.h"

namespace Lx {

class SearchModel {
  public:
    // Where the reader is, of so many pages.
    void Start(int32_t from, int32_t pages);
    void End();
    // Pages may be told in any order. The first hit from the start on becomes the current one, as far as is known,
    // until the reader has gone on from it. True when that is another one now.
    bool Add(const Pdf::SearchNews& news);
    void Fail() { state_.running = false; }
    // To the next hit, or the one before, round the ends of the document. False without hits.
    bool Step(bool forward);
    // The hit at that place, if it is still one.
    void Keep(const Pdf::Hit& hit);

    [[nodiscard]] const std::optional<Pdf::Hit>& Current() const { return current_; }
    [[nodiscard]] const std::vector<Pdf::Hit>& On(int32_t page) const;
    [[nodiscard]] const SearchState& State() const { return state_; }

  private:
    void Number();
    // In the order in which pages are looked for.
    [[nodiscard]] int32_t Turn(int32_t page) const { return page >= from_ ? page - from_ : page - from_ + count_; }

    std::map<int32_t, std::vector<Pdf::Hit>> pages_;
    std::optional<Pdf::Hit> current_;
    SearchState state_;
    int32_t from_ = 0, count_ = 0;
    bool settled_ = false;  // the current one isn't changed by what is found
};

}  // namespace Lx
