// Visible signatures in forms that ask for their appearances to be made anew.
#pragma once

#include <cstddef>

namespace Lx::Pdf {

// When a form says /NeedAppearances true, poppler makes every field's appearance anew, which for a signature is an
// empty box. In such a document this turns the widgets of signature fields into stamps, of the same length, in `datos`
// itself: an annotation of that kind is drawn as it stands. Fields inside object streams aren't reached.
void ConservarSellos(char* datos, size_t cuantos);

}  // namespace Lx::Pdf
