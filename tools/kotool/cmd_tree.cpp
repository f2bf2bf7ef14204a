// kotool tree N: builds a B-tree of N random 16-byte keys (8 bytes of data each), walks it
// both ways, deletes every other key, and checks each walk against a sorted copy. Prints what
// it did, the size of the node store and whether it spilled to a temporary file (in
// KO_TMPDIR when set). Exit status 0 when every check held, 1 otherwise, 2 for usage.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>
#include "commands.h"
#include "kolib/tree.h"

namespace {

const uint16_t KEY = 16, DATA = 8;

// Walks the whole tree in one direction and compares the keys with `expected`.
bool walkMatches(KoTree& tree, const std::vector<std::string>& expected, bool forward) {
    char key[KEY];
    unsigned found = 0;
    std::size_t i = 0;
    forward ? tree.getFirst(key, nullptr, &found) : tree.getLast(key, nullptr, &found);
    while (found) {
        std::size_t at = forward ? i : expected.size() - 1 - i;
        if (i >= expected.size() || std::memcmp(key, expected[at].data(), KEY) != 0) return false;
        ++i;
        forward ? tree.getNext(key, nullptr, &found) : tree.getPrevious(key, nullptr, &found);
    }
    return i == expected.size();
}

} // namespace

int cmdTree(int argc, char** argv) {
    char* end = nullptr;
    long count = argc == 2 ? std::strtol(argv[1], &end, 10) : 0;
    if (argc != 2 || *end || count < 1 || count > 5000000) {
        std::fprintf(stderr, "usage: kotool tree N   (1 to 5000000 keys)\n");
        return 2;
    }
    std::mt19937_64 random(20261125);
    std::vector<std::string> keys;
    KoTree tree(KEY, DATA, nullptr, 1, 0);
    for (long i = 0; i < count; ++i) {
        std::string key(KEY, '\0');
        for (char& byte : key) byte = static_cast<char>('a' + random() % 26);
        unsigned existed = 0;
        if (tree.add(key.data(), key.data(), &existed)) {
            std::fprintf(stderr, "kotool tree: error: adding key %ld failed\n", i);
            return 1;
        }
        if (!existed) keys.push_back(key);
    }
    std::sort(keys.begin(), keys.end());
    bool spilled = tree.Cache.spillFileName() != nullptr;
    bool ok = tree.getCount() == keys.size() && walkMatches(tree, keys, true) &&
              walkMatches(tree, keys, false);
    unsigned found = 0;
    tree.getFirst(nullptr, nullptr, &found); // its path runs from the root to a leaf
    std::printf("added %ld random keys (%zu distinct) in %u nodes, %lu levels\n", count,
                keys.size(), static_cast<unsigned>(tree.NumNodes),
                tree.TreeIterator.PathNodes.getCount());
    std::printf("walked forward and backward: %s\n", ok ? "in order" : "OUT OF ORDER");
    std::vector<std::string> kept;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        unsigned existed = 0;
        if (i % 2 == 0 && !tree.deleteKey(keys[i].data(), &existed) && existed) continue;
        if (i % 2 == 0) ok = false;
        kept.push_back(keys[i]);
    }
    bool afterDelete = tree.getCount() == kept.size() && walkMatches(tree, kept, true) &&
                       walkMatches(tree, kept, false);
    ok = ok && afterDelete;
    std::printf("deleted %zu keys, %u left: %s\n", keys.size() - kept.size(), tree.getCount(),
                afterDelete ? "in order" : "OUT OF ORDER");
    std::printf("node store: %u bytes, %s\n", tree.Cache.highWaterMark(),
                spilled || tree.Cache.spillFileName() ? "spilled to a temporary file"
                                                      : "in memory only");
    return ok ? 0 : 1;
}
