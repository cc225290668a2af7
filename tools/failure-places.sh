#!/bin/bash
# Lists the library's allocations and file calls that no test makes fail.
#
#   tools/failure-places.sh [BUILD]      BUILD: an optimised Linux tree with tests, build/linux at first
#
# Runs test_faults, which notes from where it was called each time it lets an allocation or a file call fail, and
# compares with all calls of the allocator and of the file functions in the code of the library. A call is one of the
# machine's: an inlined function counts wherever it was inlined. Those that cannot fail there stand below with the reason.
# Exits with 1 when others are left.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/linux}
library=$build/lib/libztree.so
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

(cd "$build/bin" && ZTREE_SWEEP=2 ZTREE_PLACES=$work/hit ./test_faults --gtest_brief=1)

# Functions that something refers to: calls, addresses taken, tables. Of those whose every caller has inlined them a copy
# is left that nobody runs.
{
    objdump -dC --no-show-raw-insn "$library" |
        sed -nE 's/^[^<]*(call|jmp|lea)[^<]*<([^>]*(>[^>+]*)*)>$/\2/p; s/^ *[0-9a-f]+:\t(call|jmp|lea|mov) .*<(.*)>$/\2/p' |
        grep -v '+0x[0-9a-f]*$'
    readelf -rW "$library" | awk '$3 == "R_X86_64_RELATIVE" { print $4 }' >"$work/addends"
    nm -C --defined-only "$library" | awk 'NR == FNR { taken["0" $1] = taken[$1] = 1; next }
        { a = $1; sub(/^0*/, "", a); if (a in taken) { sub(/^[^ ]* [^ ]* /, ""); print } }' "$work/addends" -
    nm -DC --defined-only "$library" | sed 's/^[^ ]* . //'
} | sort -u >"$work/referred"

# "kind address-behind-the-call function" for each call; a jump is a call whose own caller is noted instead.
objdump -dC --no-show-raw-insn "$library" | awk '
    /^[0-9a-f]+ <.*>:$/ { name = $0; sub(/^[0-9a-f]+ </, "", name); sub(/>:$/, "", name); kind = ""; next }
    kind { address = $1; sub(/:$/, "", address); print kind, address, name; kind = "" }
    $2 == "call" {
        target = $0; sub(/^[^<]*</, "", target)
        if (target ~ /^platform::heap(Alloc|Resize)\(/) kind = "heap"
        else if (target ~ /^platform::(File::(open|read|write|append|size|state|sync|lockOthersOut|seek|lastWriteTime|close)|removeFile|emptyFile|fileState|moveFile|fileAttributes|replaceFile)\(/) kind = "file"
    }' | awk 'NR == FNR { referred[$0] = 1; next }
    { name = $0; sub(/^[^ ]* [^ ]* /, "", name); if (name in referred) print }' "$work/referred" - >"$work/calls"

# How many calls of a function need no failure, and why. The compiler copies an inlined call into several ways through a
# function, some of which nothing takes.
explained() {
    case $1 in
        *addTree* | *"BranchCore<"*">::load("* | *copyAll* | *readBody* | *parseElement* | *"::convert("* | *sortChildren*)
            allowed=3 ;; # the first entry of a stack has its room
        *adopt* | *linkChild* | *insertChildren* | *valueToChild* | *removeBranches* | *"BranchCore<"*">::create("*)
            allowed=3 ;; # the list has made room before
        *replaceAttrib* | *AttribListCore*::find* | *BranchCore*::findChild* | *mCsvReader::bindNames* | *NameIndex::makeRoom*)
            allowed=2 ;; # the second block, after the first failed too
        *"GrowingText<"* | *"ColumnForm<"* | *mCsvBuffer::createLine* | *mCsvWriter::write*)
            allowed=24 ;; # growing once more, or at a column without a value, where the line had room for it
        *writeXml* | *Writer::value* | *Reader::read\(* | *Reader::startTag*)
            allowed=8 ;; # growing for the first time where something always stands before
        *StringCore*makeBlock*) allowed=1 ;; # a string that is set anew has no block to enlarge
        *ExactTokens*makeTokenRoom*) allowed=1 ;; # these tokens go into the caller's string
        *mCsvBuffer::setData* | *mCsvBuffer::assign* | *readXml*) allowed=1 ;; # an empty text, which is refused before
        *mCsvWriter::openFile* | *CsvWriter::open\(*) allowed=1 ;; # removes what an earlier file left, which had failed
        *BranchCore*::wantIndex*) allowed=1 ;; # the same block on two ways
        *"ZXmlReaderW::ZXmlReaderW(unsigned short"*) allowed=1 ;; # another spelling of what was tried
        *mcwLog::dumpHere*) allowed=1 ;; # a dump's pieces are usual ones, which need no heap
        *mFileLog::prepare* | *mFileLog::writeHeld*) allowed=2 ;; # looks that come a second later
        *mFileLog::appendInReport*) allowed=1 ;; # in a crash report
        *mFileLog::close*) allowed=1 ;; # closing behind a flush that failed
        *) allowed=0 ;;
    esac
}

[[ -s $work/hit && -s $work/calls ]] || { echo "no failures or no calls were seen" >&2; exit 2; }
status=0
for kind in heap file; do
    : >"$work/missed"
    awk -v kind=$kind 'NR == FNR { hit[$1 $2] = 1; next }
        $1 == kind { ++all; if (!hit[$1 $2]) { ++missed; $1 = ""; print substr($0, 2) >missing } }
        END { print kind ": " all " calls in the library, " missed + 0 " of them never failed" }' \
        missing="$work/missed" "$work/hit" "$work/calls"
    while read -r missed name; do
        explained "$name"
        if ((missed > allowed)); then
            echo "  $missed in $name"
            status=1
        fi
    done < <(sed 's/^[^ ]* //' "$work/missed" | sort | uniq -c)
done
exit $status
