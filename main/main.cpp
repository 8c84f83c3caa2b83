#include "main/analysis_job.hpp"
#include "main/command_line.hpp"
#include "main/front_end.h"
#include "main/module_0.hpp"
#include "main/standard_output.hpp"
#include "vfslist16a/record_query.h"

#include <cstdio>

int main(int argc, char** argv) {
    kmr::use_own_module_0(argv);
    kmr::prepare_standard_output();
    if (argc < 2)
        std::puts("Command parameters is error");
    kmr::command_line command;
    kmr::parse_command_line(argc, argv, command);

    switch (command.what) {
    case kmr::job::help:
        PromptInfo(argv[0]);
        break;
    case kmr::job::query:
        zn_cmd_Store_QueryForTool(command.query.data(), command.query_end);
        break;
    case kmr::job::copy_out:
        inner_InitVFS();
        inner_OutputFile(command.recording.data(), command.output.data());
        break;
    case kmr::job::analysis:
        inner_InitVFS();
        kmr::run_analysis(argv[0], command.recording.data(), command.option_word);
        break;
    }
    kmr::finish_standard_output();
    return 0;
}
