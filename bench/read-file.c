/* The floor of the whole-process timing: a program that reads a file and exits, as small as a
   program can be that still opens, reads and closes what `rombus check` reads. */
#include <stdio.h>

int main(int argc, char** argv) {
    static char buffer[1 << 16];
    FILE* file;
    size_t count;
    if (argc != 2)
        return 2;
    file = fopen(argv[1], "rb");
    if (!file)
        return 2;
    count = fread(buffer, 1, sizeof buffer, file);
    fclose(file);
    return count > 0 ? 0 : 1;
}
