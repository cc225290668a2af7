// Runs the cases of tests/platform/codepage_corpus.h on the target it is built for.
//
// codepage_cases dump FILE         the 8 byte digest of every case
// codepage_cases hashes            the groups' digests, as the test includes them
// codepage_cases show NUMBER...    input and outcome of these cases
// codepage_cases compare FILE FILE counts the cases that differ; exit code 1 if there are any

#include "tests/platform/codepage_corpus.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

class Dump : public corpus::Observer {
public:
    explicit Dump(std::FILE* file) : m_file(file) {}
    void group(const char*, unsigned) override {}
    void one(const corpus::Case& c) override
    {
        const std::uint64_t d = digest(c);
        std::fwrite(&d, sizeof d, 1, m_file);
    }

private:
    std::FILE* m_file;
};

void putHex(const char* label, const void* bytes, std::size_t n)
{
    std::printf("  %s", label);
    for (std::size_t i = 0; i < n; ++i)
        std::printf(" %02x", static_cast<const unsigned char*>(bytes)[i]);
    std::printf("\n");
}

class Show : public corpus::Observer {
public:
    explicit Show(std::vector<long> wanted) : m_wanted(std::move(wanted)) {}
    void group(const char* name, unsigned number) override
    {
        m_name = name;
        m_group = number;
    }
    void one(const corpus::Case& c) override
    {
        for (const long wanted : m_wanted) {
            if (wanted != m_number)
                continue;
            std::printf("case %ld (%s %u): %s(%u), room %d: %d, error %u\n", m_number, m_name, m_group,
                        c.call, c.number, c.room, c.result, c.error);
            putHex("in ", c.in, c.in ? c.inSize : 0);
            putHex("out", c.out, c.out ? c.outSize : 0);
        }
        ++m_number;
    }

private:
    std::vector<long> m_wanted;
    const char* m_name = "";
    unsigned m_group = 0;
    long m_number = 0;
};

std::vector<std::uint64_t> read(const char* name)
{
    std::vector<std::uint64_t> all;
    if (std::FILE* const f = std::fopen(name, "rb")) {
        std::uint64_t part[4096];
        while (const std::size_t n = std::fread(part, sizeof *part, 4096, f))
            all.insert(all.end(), part, part + n);
        std::fclose(f);
    }
    return all;
}

int compare(const char* one, const char* other)
{
    const std::vector<std::uint64_t> a = read(one), b = read(other);
    if (a.empty() || a.size() != b.size()) {
        std::printf("%ld cases on one side, %ld on the other\n", static_cast<long>(a.size()),
                    static_cast<long>(b.size()));
        return 1;
    }
    long differing = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (a[i] != b[i] && ++differing <= 10)
            std::printf("case %ld differs\n", static_cast<long>(i));
    std::printf("%ld cases, %ld differences\n", static_cast<long>(a.size()), differing);
    return differing ? 1 : 0;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "dump" && argc == 3) {
        std::FILE* const f = std::fopen(argv[2], "wb");
        if (!f)
            return 2;
        Dump dump(f);
        corpus::run(dump);
        return std::fclose(f) ? 2 : 0;
    }
    if (what == "compare" && argc == 4)
        return compare(argv[2], argv[3]);
    if (what == "hashes") {
        corpus::GroupDigests digests;
        corpus::run(digests);
        std::printf("// Recorded by tools/compare_codepages/run.sh --record: what the system's own calls "
                    "answered.\n");
        for (const auto& g : digests.groups)
            std::printf("{\"%s\", %u, 0x%08x%08xu},\n", g.name, g.number,
                        static_cast<unsigned>(g.digest >> 32), static_cast<unsigned>(g.digest));
        return 0;
    }
    if (what == "show") {
        std::vector<long> wanted;
        for (int i = 2; i < argc; ++i)
            wanted.push_back(std::atol(argv[i]));
        Show show(wanted);
        corpus::run(show);
        return 0;
    }
    std::fputs("usage: codepage_cases dump FILE | hashes | show NUMBER... | compare FILE FILE\n", stderr);
    return 2;
}
