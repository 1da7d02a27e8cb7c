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
    void Start();
    void End();
    // The first hit that is found becomes the current one: the search began where the reader is. True then.
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

    std::map<int32_t, std::vector<Pdf::Hit>> pages_;
    std::optional<Pdf::Hit> current_;
    SearchState state_;
};

}  // namespace Lx
