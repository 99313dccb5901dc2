# Fails unless README holds EXAMPLE as a C++ code block.
file(READ ${README} readme)
file(READ ${EXAMPLE} example)
string(FIND "${readme}" "```cpp\n${example}```\n" position)
if(position EQUAL -1)
  message(FATAL_ERROR "the README does not show ${EXAMPLE} as it stands")
endif()
