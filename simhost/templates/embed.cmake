# cmake -D OUTPUT=templates.cpp -D FOLDER=dir -D FILES="a;b" -P embed.cmake: puts the files' texts into
# a source of the simulated host.
set(code "// Made from the files in simhost/templates.\n#include \"new_project.h\"\n\n"
    "namespace kzfi_simhost {\n\nconst std::vector<ProjectTemplate>& projectTemplates() {\n"
    "    static const std::vector<ProjectTemplate> all = {\n")
string(CONCAT code ${code})
foreach(file IN LISTS FILES)
    file(READ "${FOLDER}/${file}" text)
    string(REGEX REPLACE "\\.in$" "" name "${file}")
    string(APPEND code "        {\"${name}\", R\"KZFI(${text})KZFI\"},\n")
endforeach()
string(APPEND code "    };\n    return all;\n}\n\n} // namespace kzfi_simhost\n")
file(WRITE "${OUTPUT}" "${code}")
