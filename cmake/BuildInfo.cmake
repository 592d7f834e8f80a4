# Writes the source that tells the command its version and commit, and leaves it alone when both are the same:
# -DSOURCE= (folder of the project), -DVERSION=, -DOUTPUT=. An archive that git made has its commit in commit.txt.
cmake_minimum_required(VERSION 3.25)
file(STRINGS "${SOURCE}/cmake/commit.txt" commit REGEX "^[0-9a-f]+$")
if(commit)
    string(SUBSTRING ${commit} 0 12 commit)
elseif(EXISTS "${SOURCE}/.git")
    set(ENV{GIT_OPTIONAL_LOCKS} 0)  # the user may be at work there
    execute_process(COMMAND git describe --always --dirty --abbrev=12 --exclude=* WORKING_DIRECTORY "${SOURCE}"
        OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    string(REPLACE "-dirty" ", with changes" commit "${commit}")
endif()
if(NOT commit)
    set(commit unknown)
endif()
file(CONFIGURE OUTPUT "${OUTPUT}" @ONLY CONTENT "#include \"tools/verbs/about.h\"

const zel::tools::BuildInfo zel::tools::kBuildInfo{\"@VERSION@\", \"@commit@\"};
")
