// Run by the tests in a process of its own: what a post to the given address within the given milliseconds gives.
#include <cstdio>
#include <cstdlib>

#include "red/LxHttp.h"

int main(int argc, char** argv) {
    if (argc < 3) return EXIT_FAILURE;
    const auto r = Lx::Api::PostJson(argv[1], "{}", std::atoi(argv[2]));
    std::printf("%d|%s|%s\n", r.status, r.body.c_str(), r.error.c_str());
    return EXIT_SUCCESS;
}
