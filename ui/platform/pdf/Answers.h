// What the long answers of velmora-pagina say, as far as it makes sense: it may have been taken over by the document.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ui/LxPages.h"

namespace Lx::Pdf {

// A page without a size counts as a usual sheet.
[[nodiscard]] std::vector<PageSize> ReadSizes(const unsigned char* data, size_t bytes);
[[nodiscard]] PageText ReadText(const unsigned char* data, size_t bytes);
// Targets on pages from 0 to `pages` - 1.
[[nodiscard]] std::vector<Link> ReadLinks(const unsigned char* data, size_t bytes, int32_t pages);
[[nodiscard]] std::vector<OutlineItem> ReadOutline(const unsigned char* data, size_t bytes, int32_t pages);
[[nodiscard]] std::vector<Attachment> ReadAttachments(const unsigned char* data, size_t bytes);
// Hits on the `count` pages from `first` on. `done` is how many of those were searched.
[[nodiscard]] std::vector<Hit> ReadHits(const unsigned char* data, size_t bytes, int32_t first, int32_t count,
                                        int32_t& done);

// UTF-8 and nothing that isn't, without control characters and what turns the direction of writing.
[[nodiscard]] std::string CleanText(std::string_view text);
// One name for a file, of 200 bytes at most.
[[nodiscard]] std::string CleanName(std::string_view name);

}  // namespace Lx::Pdf
