# Writes the source of built_in_scenarios.h:
#   cmake -DFILES=<scenario files> -DOUTPUT=<source> -P embed_scenarios.cmake

set(rows "")
foreach(file IN LISTS FILES)
  get_filename_component(name ${file} NAME_WLE)
  file(READ ${file} text)
  string(APPEND rows "    {\"${name}\", R\"scenario(${text})scenario\"},\n")
endforeach()
file(WRITE ${OUTPUT}
"// Written by embed_scenarios.cmake from the files of sim/scenarios.
#include \"sim/scenario/built_in_scenarios.h\"

namespace vesksim {

const std::vector<BuiltInScenario>& builtInScenarioTexts() {
    static const std::vector<BuiltInScenario> kTexts = {
${rows}    };
    return kTexts;
}

}  // namespace vesksim
")
