# Writes a file's content as a C++ character array: SOURCE, OUT, NAME.
file(READ "${SOURCE}" hex HEX)
string(LENGTH "${hex}" digits)
math(EXPR size "${digits} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
string(REGEX REPLACE "((0x[0-9a-f][0-9a-f],)(0x[0-9a-f][0-9a-f],)(0x[0-9a-f][0-9a-f],)(0x[0-9a-f][0-9a-f],)(0x[0-9a-f][0-9a-f],)(0x[0-9a-f][0-9a-f],)(0x[0-9a-f][0-9a-f],)(0x[0-9a-f][0-9a-f],))"
  "\\1\n" bytes "${bytes}")
file(WRITE "${OUT}" "#include <cstddef>\nextern const unsigned char ${NAME}Data[];\nextern const std::size_t ${NAME}Size;\nconst unsigned char ${NAME}Data[] = {\n${bytes}};\nconst std::size_t ${NAME}Size = ${size};\n")
