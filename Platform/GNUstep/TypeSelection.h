// Letters typed in a tree select the next of its rows whose name begins with them, as on macOS; the
// library passes such keys on. A name is the text in the column with the triangles.
#pragma once

namespace vx {

// From now on, in every outline view. Main thread, once.
void installTypeSelection();

}  // namespace vx
