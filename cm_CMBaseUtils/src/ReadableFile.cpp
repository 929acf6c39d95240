#include "ReadableFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/** The type bits of the file's mode; 0 if they cannot be read. */
mode_t typeOf(int file) {
    struct stat status {};
    return fstat(file, &status) == 0 ? status.st_mode & S_IFMT : 0;
}

/** Whether the FIFO is empty and nobody has it open for writing. tee finds out without taking bytes from it.
 */
bool isAtItsEnd(int fifo) {
    int copy[2];
    if (pipe2(copy, O_CLOEXEC) != 0) {
        return true;  // out of descriptors: better not readable than waiting
    }
    const ssize_t copied = tee(fifo, copy[1], 1, SPLICE_F_NONBLOCK);  // fails while a writer writes nothing
    close(copy[0]);
    close(copy[1]);
    return copied == 0;
}

}  // namespace

CReadableFile::CReadableFile(const char* path)
    : m_nDescriptor(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)) {}

CReadableFile::~CReadableFile() {
    if (isOpen()) {
        close(m_nDescriptor);
    }
}

bool CReadableFile::lacksWriter() const {
    return typeOf(m_nDescriptor) == S_IFIFO && isAtItsEnd(m_nDescriptor);
}

bool CReadableFile::canWaitForInput() const {
    const mode_t type = typeOf(m_nDescriptor);
    return type == S_IFIFO || type == S_IFCHR;
}
