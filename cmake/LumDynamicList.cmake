# cmake -DNM=<nm> -DOUT=<file> -P LumDynamicList.cmake <objects and archives...>
#
# Writes the dynamic list liblumbasic is linked with: every global variable its objects
# define, so that the library reaches each one through the dynamic loader and sees the
# copy a host's executable may have made of it (a copy relocation). What the list
# leaves out is bound inside the library when it is linked: its functions, and the
# virtual tables and type descriptors of its classes (_ZTV, _ZTT, _ZTI, _ZTS), which the
# runtime compares by name, not by address, when it catches or casts.
set(inputs)
set(take OFF)
foreach(i RANGE ${CMAKE_ARGC})
  if(take AND DEFINED CMAKE_ARGV${i})
    list(APPEND inputs "${CMAKE_ARGV${i}}")
  elseif("${CMAKE_ARGV${i}}" STREQUAL "--")
    set(take ON)
  endif()
endforeach()
execute_process(COMMAND ${NM} --defined-only -P ${inputs} OUTPUT_VARIABLE symbols RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${NM} failed on the library's objects")
endif()
string(REPLACE "\n" ";" lines "${symbols}")
set(names)
foreach(line IN LISTS lines)
  # "name type [value size]": B, D, G, R, S, V global data; u unique (a function's
  # static in an inline function or a template's static member).
  if(line MATCHES "^([^ ]+) [BDGRSVu]( |$)")
    set(name "${CMAKE_MATCH_1}")
    if(NOT name MATCHES "^_ZT[VTIS]")
      list(APPEND names "${name}")
    endif()
  endif()
endforeach()
list(REMOVE_DUPLICATES names)
list(SORT names)
list(JOIN names ";\n  " body)
set(text "{\n  ${body};\n};\n")
file(WRITE "${OUT}" "${text}")
