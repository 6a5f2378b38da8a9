#include <cstdio>
#include <cstring>

// Until the simulator and the commands land, kvictl only says so.
int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--version") == 0) {
            std::puts("kvictl 0.1.0");
            return 0;
        }
    }
    std::fputs("kvictl: the simulator and the commands are not built yet; "
               "run scripts/test to check the library.\n",
               stderr);
    return 3;
}
