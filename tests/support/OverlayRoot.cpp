/**
 * Runs a program in its own root folder, where the files of LAYER hide those of the machine:
 *
 *   overlay_root LAYER PROGRAM [ARGUMENT...]
 *
 * The machine is not changed: the mounts belong to a namespace that ends with the program, and what the
 * program writes is lost, except in /proc, /dev, the temporary folder and the build folder, which are the
 * real ones. The exit status is the program's, or 77 with the reason on standard error where the machine
 * allows no such namespace.
 */

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

namespace fs = std::filesystem;

constexpr int kNotAllowed = 77;
const fs::path kWorkplace =
    "/mnt";  // a folder that every root has; only the namespace sees what is put there

void check(int result, const std::string& what) {
    if (result != 0) {
        throw std::runtime_error(what + ": " + std::strerror(errno));
    }
}

/** Takes the right to mount: inside a user namespace, the kernel refuses an overlay of a root with mounts
 * in it. */
void enterNamespace() {
    check(unshare(CLONE_NEWNS), "unshare");
    check(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "making the mounts private");
}

/** Mounts the overlay of layer over the machine's root and returns where. */
fs::path mountOverlay(const fs::path& layer) {
    check(mount("tmpfs", kWorkplace.c_str(), "tmpfs", 0, nullptr), "mounting a tmpfs");
    fs::copy(layer, kWorkplace / "upper", fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    fs::create_directory(kWorkplace / "work");
    const fs::path root = kWorkplace / "root";
    fs::create_directory(root);
    check(mount("overlay", root.c_str(), "overlay", 0, "lowerdir=/,upperdir=/mnt/upper,workdir=/mnt/work"),
          "mounting the overlay");
    return root;
}

/** Shows the machine's folder in the new root; where its place is missing there, the folder around it. */
void bindInto(const fs::path& root, fs::path folder) {
    while (!fs::is_directory(root / folder.relative_path())) {
        folder = folder.parent_path();
    }
    check(mount(folder.c_str(), (root / folder.relative_path()).c_str(), nullptr, MS_BIND | MS_REC, nullptr),
          "binding " + folder.string());
}

void enterOverlay(const fs::path& layer) {
    const fs::path workingDirectory = fs::current_path();
    enterNamespace();
    const fs::path root = mountOverlay(layer);
    for (const fs::path& folder :
         {fs::path("/proc"), fs::path("/dev"), fs::temp_directory_path(), fs::path(BUILD_FOLDER)}) {
        bindInto(root, folder);
    }
    check(chroot(root.c_str()), "chroot");
    check(chdir(workingDirectory.c_str()), "going back to the working directory");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "usage: overlay_root LAYER PROGRAM [ARGUMENT...]\n";
        return 2;
    }
    try {
        enterOverlay(fs::absolute(argv[1]));
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return kNotAllowed;
    }
    execv(argv[2], argv + 2);
    std::cerr << argv[2] << ": " << std::strerror(errno) << '\n';
    return 127;
}
