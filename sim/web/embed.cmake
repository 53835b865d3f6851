# Writes INPUT as the bytes of kWebPage (and its size kWebPageSize) into the C++ file OUTPUT.
file(READ ${INPUT} hex HEX)
string(LENGTH "${hex}" digits)
math(EXPR size "${digits} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n" bytes "${bytes}")
file(WRITE ${OUTPUT}
     "#include <cstddef>\n"
     "extern const unsigned char kWebPage[];\n"
     "extern const size_t kWebPageSize;\n"
     "const unsigned char kWebPage[] = {\n${bytes}0};\n"
     "const size_t kWebPageSize = ${size};\n")
