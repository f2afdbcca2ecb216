# Checks the dynamic symbol table of liblumbasic: the public API is there, the
# interpreter's and the compiler's internals are not.
#     cmake -DNM=nm -DLIBRARY=liblumbasic.so -P CheckExports.cmake
execute_process(COMMAND ${NM} -D --defined-only -C ${LIBRARY} OUTPUT_VARIABLE exports RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${NM} failed on ${LIBRARY}")
endif()
# A sample of each public header's classes and functions.
foreach(name "CLumBasic::DoMemory(" "CLumVariables::GetValue(" "CLumsVarValue::GetDouble(" "CLumsException::what("
             "LumCompile(" "CLumCompileException::CLumCompileException(" "CLumBasic::RegisterFunction(" "LumHostToken("
             "CLumHostArgs::SetVariable(" "LumFailureReport(" "LumIsLanguageWord(" "CLumBasicExtMeta::CreateExtModule("
             "CLumBasicDebugger::Start(" "CLumBasicProfiler::LoadFile(" "LumSetMessageBox(" "LumTokenName("
             "typeinfo for CLumsException")
  string(FIND "${exports}" "${name}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "${LIBRARY} does not export ${name}")
  endif()
endforeach()
# Classes of the internal headers (core/, fast/, expr/, debug/, compiler/, tools/).
foreach(name "CLumCompiler" "CLumParser" "CLumLexer" "CLumCodeGen" "CLumDiagnostics" "CLumDisassembler"
             "CLumExtensionTable" "CLumImageWriter" "CLumExpression" "CLumTermNode" "CLumArchive" "CLumFastForm"
             "CLumReadCache" "CLumDepthGuard" "CLumFreeList" "CLumScopedKey" "CLumAddressMap" "LumApplyOperator"
             "CLumHostModul")
  string(REGEX MATCH "[^\n]*[ :]${name}[^\n]*" line "${exports}")
  if(line)
    message(FATAL_ERROR "${LIBRARY} exports an internal symbol: ${line}")
  endif()
endforeach()
message(STATUS "${LIBRARY}: the public API only")
