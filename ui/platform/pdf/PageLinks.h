// Where a document leads: its outline, its links, the files inside it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ayudante/LxSobre.h"
#include "ui/platform/pdf/PageRenderer.h"

namespace Lx::Pdf {

// Each writes as much as there is room for: what Answers.h reads.
void WriteOutline(const PageRenderer& renderer, Ayudante::Escritor& writer);
void WriteLinks(const PageRenderer& renderer, int32_t page, Ayudante::Escritor& writer);

// The files inside. Poppler is asked for them once: what it gives the second time has a byte more.
class AttachedFiles {
  public:
    static constexpr size_t kMaxBytes = size_t{256} << 20;

    void Write(const PageRenderer& renderer, Ayudante::Escritor& writer);
    // Copies from byte `from` on as many as fit; `end` tells that there are no more. The file is kept until then.
    [[nodiscard]] Ayudante::Estado Read(const PageRenderer& renderer, int32_t index, uint64_t from, unsigned char* slot,
                                        size_t room, uint32_t& bytes, bool& end);

  private:
    void Find(const PageRenderer& renderer);
    [[nodiscard]] Ayudante::Estado Load(int32_t index);

    bool isFound_ = false;
    std::vector<std::unique_ptr<PopplerAttachment, Unref>> files_;
    int32_t index_ = -1;
    std::string data_;
};

}  // namespace Lx::Pdf
