// The bytes of a document, as they were when it was opened.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "crypto/LxDescriptor.h"

namespace Lx::Pdf {

// The file as it is now, in memory that nobody can change: what is shown doesn't depend on what becomes of the file.
// Empty when it can't be read, is empty, or no file.
[[nodiscard]] Api::Descriptor CopyOf(const std::string& path);

// Copies a file without holding up who asks: what is small at once, what is large in a thread.
class Copying {
  public:
    explicit Copying(const std::string& path);
    ~Copying();
    Copying(const Copying&) = delete;
    Copying& operator=(const Copying&) = delete;

    // Can be read once it is done.
    [[nodiscard]] int Fd() const;
    [[nodiscard]] bool IsDone() const;
    // Empty as with CopyOf; once, after IsDone.
    [[nodiscard]] Api::Descriptor Take();

  private:
    struct Shared;
    std::shared_ptr<Shared> shared_;
};

}  // namespace Lx::Pdf
