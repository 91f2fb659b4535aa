# Sums llvm-cov's table of files by folder: lines and branches, and the share of each that ran.
# Columns: file, regions (3), functions (3), lines, missed lines, cover, branches, missed, cover.
BEGIN {
    row = "%-34s %8s %7s %10s %7s\n"
    printf row, "Folder", "lines", "run", "branches", "run"
}
function percent(all, missed) { return all ? sprintf("%.1f %%", 100 * (all - missed) / all) : "-" }
function add(name) {
    lines[name] += $8; missed_lines[name] += $9
    branches[name] += $11; missed_branches[name] += $12
}
function show(name) {
    printf row, name, lines[name], percent(lines[name], missed_lines[name]), branches[name],
        percent(branches[name], missed_branches[name])
}
NF == 13 && $1 ~ /\.(cpp|mm|h)$/ {
    file = $1
    while (sub(/[^\/.]+\/\.\.\//, "", file))
        ;
    sub(root, "", file)
    sub(/\/[^\/]*$/, "", file)
    if (!(file in lines))
        order[++count] = file
    add(file)
    add("All")
}
END {
    for (i = 1; i <= count; ++i)
        show(order[i])
    show("All")
}
