# SPDX-License-Identifier: MIT
#
# Prepares a page of Markdown for Doxygen: gives it a name without its folder, and
# makes links to pages and headers references. A remark "site: ..." is text that only
# the site has. What a link names otherwise is a file of the sources,
# which finish.sh puts beside the pages. `pages` is the list of the names of all
# pages, with blanks around each.

function localTarget(target, name) {
  if (target ~ /^(https?:|#)/) {
    return target
  }
  sub(/#.*/, "", target)  # places have other names there
  name = target
  sub(/.*\//, "", name)
  if (name == "index.md") {
    return "@ref index"
  }
  if (name ~ /\.md$/ && index(pages, " " name " ")) {
    sub(/\.md$/, "", name)
    return "@ref page_" name
  }
  if (target ~ /include\/qorutil\/[^\/]*\.h$/) {
    return "@ref " name
  }
  if (name ~ /\.svg$/) {
    return name
  }
  gsub(/^(\.\.\/)+|\/$/, "", target)
  return "files/" target ".txt"
}

FNR == 1 {
  name = FILENAME
  gsub(/.*\/|\.md$/, "", name)
  if (name != "index") {
    print $0 " {#page_" name "}"
    next
  }
}
/^ *```/ { inside = !inside }
inside { print; next }
{
  line = $0
  if (line ~ /^<!-- site: .* -->$/) {
    line = substr(line, 12, length(line) - 15)
  }
  # The text of a reference is taken as it is.
  gsub(/\[`/, "[", line)
  gsub(/`\]\(/, "](", line)
  done = ""
  while (match(line, /\]\([^) ]+\)/)) {
    target = substr(line, RSTART + 2, RLENGTH - 3)
    done = done substr(line, 1, RSTART + 1) localTarget(target) ")"
    line = substr(line, RSTART + RLENGTH)
  }
  print done line
}
