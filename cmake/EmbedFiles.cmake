# Writes OUTPUT, a source that defines GetPageFiles with the files of FOLDER in it.
# usage: cmake -D FOLDER=... -D OUTPUT=... -P EmbedFiles.cmake
file(GLOB names RELATIVE ${FOLDER} ${FOLDER}/*)
list(SORT names)
set(rows "")
foreach(name IN LISTS names)
  file(READ ${FOLDER}/${name} text)
  string(APPEND rows "    {\"${name}\", R\"~~~~(${text})~~~~\"},\n")
endforeach()
file(WRITE ${OUTPUT} "#include \"Tools/Tarsel/Try/PageFiles.h\"

namespace Tarsel::Tools {
namespace {

constexpr PageFile s_pageFiles[]{
${rows}};

} // namespace

std::span<PageFile const> GetPageFiles() noexcept {
    return s_pageFiles;
}

} // namespace Tarsel::Tools
")
