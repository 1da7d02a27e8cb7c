// Visible signatures in forms that ask for their appearances to be made anew.
#pragma once

#include <string>
#include <string_view>

namespace Lx::Pdf {

// When a form says /NeedAppearances true, poppler makes every field's appearance anew, which for a signature is an
// empty box. For such a document this gives an update, to be appended to its bytes before poppler reads them, that
// turns the widgets of signature fields into stamps: an annotation of that kind is drawn as it stands. Empty for all
// others. `isEncrypted` tells what was seen by the way: whether the document is.
[[nodiscard]] std::string KeptStamps(std::string_view data, bool& isEncrypted);

}  // namespace Lx::Pdf
