#include "InfoFixture.h"

#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {

InfoTest::Result InfoTest::Run(const Arguments &arguments, const ToolRun::Settings &settings)
{
    return RunWith(VX_STAND_IN, arguments, settings);
}

InfoTest::Result InfoTest::RunWith(const std::string &library, const Arguments &arguments,
                                   const ToolRun::Settings &settings)
{
    ToolRun run(ProgramWith(library), arguments, settings);
    const int status = run.Wait();
    return {status, run.Output(), run.Errors()};
}

std::string InfoTest::ProgramWith(const std::string &library)
{
    std::ifstream file(VX_INFO, std::ios::binary);
    const std::string contents(std::istreambuf_iterator<char>(file), {});
    std::string program = _folder.WriteFile("programs/volume-info", contents);
    chmod(program.c_str(), 0755);
    const std::string link = "programs/libBitLockerWapper.dylib";
    if (!library.empty() && access(_folder.At(link).c_str(), F_OK) != 0)
        _folder.MakeLink(link, library);
    return program;
}

std::string InfoTest::Json(const std::string &document, const std::string &expression)
{
    const std::string path = _folder.WriteFile("document.json", document);
    ToolRun run("/usr/bin/env", {"python3", "-c",
                                 "import json, sys\nd = json.load(open(sys.argv[1]))\n"
                                 "print(json.dumps(eval(sys.argv[2])))",
                                 path, expression});
    const int status = run.Wait();
    EXPECT_EQ(status, 0) << run.Errors();
    return run.Output().substr(0, run.Output().find('\n'));
}

}  // namespace vx
