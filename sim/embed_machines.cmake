# cmake -DFOLDER=machines -DOUTPUT=file.cpp -P embed_machines.cmake: machine files as C++ text, sorted by name.
file(GLOB FILES ${FOLDER}/*.machine)
list(SORT FILES)
set(ROWS "")
foreach(FILE IN LISTS FILES)
    get_filename_component(NAME ${FILE} NAME_WLE)
    file(READ ${FILE} TEXT)
    string(APPEND ROWS "    {\"${NAME}\", R\"machine(${TEXT})machine\"},\n")
endforeach()
file(WRITE ${OUTPUT} "#include \"sim/embedded_machines.h\"

namespace vxtsim {

static const CEmbeddedMachine s_aMachines[] = {
${ROWS}};
const std::span<const CEmbeddedMachine> g_EmbeddedMachines = s_aMachines;

}  // namespace vxtsim
")
