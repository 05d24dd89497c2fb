# cmake -DINPUT=file -DOUTPUT=file.cc -DSYMBOL=name -P embed_file.cmake
# Writes a C++ source that holds INPUT as a byte array, so that the tool
# carries its default photo and never reads the source tree at run time.
file(READ "${INPUT}" hex HEX)
string(LENGTH "${hex}" hex_len)
math(EXPR size "${hex_len} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
# One line per 32 bytes keeps the generated file readable for compilers and diff tools.
string(REGEX REPLACE "((0x[0-9a-f][0-9a-f],){32})" "\\1\n" bytes "${bytes}")
file(WRITE "${OUTPUT}.tmp"
  "// Generated from ${INPUT} by embed_file.cmake; do not edit.\n"
  "#include <cstddef>\n"
  "extern const unsigned char ${SYMBOL}[];\n"
  "extern const std::size_t ${SYMBOL}_size;\n"
  "const unsigned char ${SYMBOL}[] = {\n${bytes}\n};\n"
  "const std::size_t ${SYMBOL}_size = ${size};\n")
file(RENAME "${OUTPUT}.tmp" "${OUTPUT}")
