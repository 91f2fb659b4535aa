// The two FIFOs of the link between the explorer and its host. Both programs have to name the same
// two files, and the other program may be of another version: the names do not change.
#pragma once

namespace vx {

constexpr char kHostToExplorer[] = "/tmp/z5_btl_3";
constexpr char kExplorerToHost[] = "/tmp/z5_btl_4";

}  // namespace vx
