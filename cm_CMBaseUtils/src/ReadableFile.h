#pragma once

/** A file that is open for reading. Opening it never waits, whatever it is; a folder can be opened too. */
class CReadableFile {
public:
    explicit CReadableFile(const char* path);
    ~CReadableFile();
    CReadableFile(const CReadableFile&) = delete;
    CReadableFile& operator=(const CReadableFile&) = delete;

    bool isOpen() const { return m_nDescriptor >= 0; }
    int descriptor() const { return m_nDescriptor; }

    /** Whether the open file is a FIFO without a writer, where an ordinary opening would wait for one. */
    bool lacksWriter() const;

    /** Whether reading the open file can wait for somebody's input: at a FIFO, or at a device such as a
     *  terminal. */
    bool canWaitForInput() const;

private:
    int m_nDescriptor;
};
