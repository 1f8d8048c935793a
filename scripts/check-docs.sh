#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Makes the site with Doxygen, in build/docs: the pages of docs and the reference of
# the public headers. Fails for every name that has no documentation, for links
# that lead nowhere, for pictures that are missing, and for whatever mandoc finds
# in the manual pages.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

noArguments "$@"
scripts/packages.sh g++ cmake ninja-build doxygen libxml2-utils mandoc python3
mandoc -T lint tools/qorhex/*.[17]
prepareBuild docs
rm -rf build/docs/docs
cmake --preset docs
cmake --build --preset docs

# What Doxygen does not warn about: enumerators, constructors without arguments,
# destructors, files. Every header has to be there, too: a Doxygen that has read
# nothing finds no fault.
xml=build/docs/docs/xml
silent='not(normalize-space(briefdescription)) and not(normalize-space(detaileddescription))'
for header in include/qorutil/*.h; do
  file=$xml/$(basename "$header" .h)_8h.xml
  [[ -f $file ]] || fail "Doxygen has not read $header"
done
for file in "$xml"/*_8h.xml "$xml"/{class,struct}*.xml; do
  names=$(xmllint --xpath "//compounddef[$silent]/compoundname/text() | \
    //memberdef[@prot='public' and $silent]/definition/text() | \
    //enumvalue[$silent]/name/text()" "$file" 2>/dev/null) ||
    [[ $? == 10 ]] || fail "cannot read $file"  # 10 says that it found none
  [[ -z $names ]] || fail "without documentation: $names"
done

# What the site holds, and whether all of it can be reached without a server.
html=build/docs/docs/html
for page in docs/*.md docs/guides/*.md; do
  name=page_$(basename "$page" .md).html
  [[ $page == docs/index.md ]] || grep -q "\"$name\"" $html/{pages,index}.html ||
    fail "the site has no $page"
done
for picture in docs/*.svg docs/pictures/*.svg; do
  grep -q "\"$(basename "$picture")\"" $html/page_*.html ||
    fail "no page shows $picture"
done
[[ -s $html/search/searchdata.js ]] || fail "the site cannot be searched"
docs/site/check-links.py $html
echo "Every name is documented; see build/docs/docs/html/index.html"
