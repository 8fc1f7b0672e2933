// plain_save FILE: reads a nickname file, sorts an index of its nicknames and writes every record
// to a new file, with a flush: the least that saving a changed address book can cost. Takes what
// generate_nicknames writes and nothing else; groups and duplicates count as records.
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

struct record {
    const char *name, *lines, *end;
    size_t name_size;
};

static void check(int ok, const char* what) {
    if (ok) return;
    perror(what);
    exit(1);
}

static int by_name(const void* left, const void* right) {
    const struct record *a = left, *b = right;
    const size_t size = a->name_size < b->name_size ? a->name_size : b->name_size;
    const int order = memcmp(a->name, b->name, size);
    return order != 0 ? order : (a->name_size > b->name_size) - (a->name_size < b->name_size);
}

int main(int count, char** arguments) {
    static char path[4096], buffer[1 << 20];
    struct stat file;
    const int in = open(count == 2 ? arguments[1] : "", O_RDONLY);
    check(in >= 0 && fstat(in, &file) == 0, "opening");
    const size_t size = (size_t)file.st_size;
    char* const bytes = malloc(size + 1);
    struct record* const records = malloc(size / 10 * sizeof *records);
    check(bytes != NULL && records != NULL && read(in, bytes, size) == file.st_size, "reading");
    size_t have = 0;
    for (const char *at = bytes, *const end = at + size; at < end;) {
        const char* line_end = memchr(at, '\n', (size_t)(end - at));
        if (*at == 'n') {
            records[have - 1].end = line_end + 1;
        } else {
            const char* name = (const char*)memchr(at, ' ', (size_t)(line_end - at)) + 1;
            const char until = *name == '"' ? '"' : ' ';
            name += until == '"';
            const char* name_end = memchr(name, until, (size_t)(line_end - name));
            records[have++] = (struct record){name, at, line_end + 1, (size_t)(name_end - name)};
        }
        at = line_end + 1;
    }
    qsort(records, have, sizeof *records, by_name);
    snprintf(path, sizeof path, "%s.new", arguments[1]);
    const int out = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    size_t used = 0;
    for (size_t i = 0; i <= have; ++i) {
        const size_t more = i < have ? (size_t)(records[i].end - records[i].lines) : sizeof buffer;
        if (used + more > sizeof buffer) {
            check(write(out, buffer, used) == (ssize_t)used, "writing");
            used = 0;
        }
        if (i < have) memcpy(buffer + used, records[i].lines, more);
        used += more;
    }
    check(fsync(out) == 0 && close(out) == 0 && rename(path, arguments[1]) == 0, "saving");
    return 0;
}
