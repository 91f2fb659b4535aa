// A folder of its own for the FIFOs of one test, removed with all that is in it.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

class PipeFolder {
public:
    PipeFolder()
    {
        char path[] = "/tmp/vx-pipe-XXXXXX";
        if (!mkdtemp(path))
            abort();
        _path = path;
    }
    ~PipeFolder()
    {
        if (DIR *folder = opendir(_path.c_str())) {
            while (const dirent *entry = readdir(folder))
                unlink(Path(entry->d_name).c_str());
            closedir(folder);
        }
        rmdir(_path.c_str());
    }
    PipeFolder(const PipeFolder &) = delete;
    PipeFolder &operator=(const PipeFolder &) = delete;

    std::string Path(const std::string &name) const { return _path + "/" + name; }
    // The FIFOs of a link, named as its client uses them.
    std::string ToClient() const { return Path("to-client"); }
    std::string ToServer() const { return Path("to-server"); }

    static bool Exists(const std::string &path)
    {
        struct stat status;
        return lstat(path.c_str(), &status) == 0;
    }

private:
    std::string _path;
};
