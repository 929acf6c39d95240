// Preload library: turns the calls that make a program's own files durable into no-ops. The database still
// syncs, with fdatasync: its commit becomes durable, and the files that it names do not.

#include <fcntl.h>
#include <unistd.h>

extern "C" {

int fsync(int) {
    return 0;
}

int sync_file_range(int, off64_t, off64_t, unsigned int) {
    return 0;
}

void sync() noexcept {}

}  // extern "C"
