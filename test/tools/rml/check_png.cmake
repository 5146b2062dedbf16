# A chart file is a PNG image of the expected size:
#   cmake -DFILE=chart.png -DWIDTH=1280 -DHEIGHT=1560 -P check_png.cmake
# The signature, then the first chunk, IHDR, with the width and height as big-endian numbers.
file(READ ${FILE} head LIMIT 24 HEX)
string(SUBSTRING "${head}" 0 16 signature)
string(SUBSTRING "${head}" 24 8 chunk)
if(NOT signature STREQUAL "89504e470d0a1a0a" OR NOT chunk STREQUAL "49484452")
    message(FATAL_ERROR "${FILE} is not a PNG image (starts ${head})")
endif()
string(SUBSTRING "${head}" 32 8 width)
string(SUBSTRING "${head}" 40 8 height)
math(EXPR width "0x${width}")
math(EXPR height "0x${height}")
if(NOT width EQUAL WIDTH OR NOT height EQUAL HEIGHT)
    message(FATAL_ERROR "${FILE} is ${width} x ${height}, not ${WIDTH} x ${HEIGHT}")
endif()
message(STATUS "${FILE}: PNG ${width} x ${height}")
