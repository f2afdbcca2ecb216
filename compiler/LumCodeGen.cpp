#include "LumCodeGen.h"

#include "LumLexer.h"
#include "LumNearMiss.h"

#include <stdexcept>

CLumCodeGen::CLumCodeGen(const CLumProgram& program, const SLumCompileOptions& options,
                         CLumDiagnostics& diagnostics)
    : m_program(program), m_options(options), m_diagnostics(diagnostics)
{
}

std::vector<uint8_t> CLumCodeGen::Run(const std::string& strSourceName)
{
    CollectProcedures();
    CollectArrays(m_program.m_aTopLevel);
    for (const auto& pProc : m_program.m_aProcs)
        CollectArrays(pProc->m_aBody);
    try
    {
        m_writer.SourceName(strSourceName);
    }
    catch (const std::length_error&)
    {
        Error(SLumPos{1, 1}, "too-long", "the path of the source is too long for the image");
    }
    EmitTopLevel();
    EmitImplicitDeclares();
    if (m_pMain != nullptr)
        EmitMain(*m_pMain);
    m_writer.Terminator();
    for (const auto& pProc : m_program.m_aProcs)
        if (pProc.get() != m_pMain)
            EmitProcedure(*pProc);
    if (m_diagnostics.HasErrors())
        return {};
    return m_writer.Finish();
}

bool CLumCodeGen::IsMainName(const std::string& strName)
{
    return LumEqualsNoCase(strName, "Main");
}

ELumType CLumCodeGen::TypeOfName(const std::string& strName)
{
    return !strName.empty() && strName.back() == '$' ? ELumType::String : ELumType::Number;
}

const CLumCodeGen::ProcInfo* CLumCodeGen::FindProc(const std::string& strName) const
{
    auto it = m_mapProcs.find(strName);
    return it == m_mapProcs.end() ? nullptr : &it->second;
}

// An unknown name is most often a slip on a known one, so the nearest one that could
// stand here is named: in a statement a procedure or a statement of the host, in an
// expression a procedure, an array or a function.
std::string CLumCodeGen::UnknownName(const std::string& strName, bool fStatement) const
{
    CLumNearMiss nearMiss(strName);
    for (const auto& entry : m_mapProcs)
        nearMiss.Offer(entry.first);
    if (!fStatement)
        for (const std::string& strArray : m_setArrays)
            nearMiss.Offer(strArray);
    size_t nBuiltins = 0;
    const SLumBuiltin* pBuiltins = LumBuiltins(nBuiltins);
    for (size_t i = 0; i < nBuiltins; ++i)
        if (!fStatement || pBuiltins[i].m_wToken == LBT_SHOWMESSAGE)
        {
            std::string_view name(pBuiltins[i].m_pszName);
            nearMiss.Offer(name);
            if (name.back() == '$')
                nearMiss.Offer(name.substr(0, name.size() - 1));
        }
    if (m_options.m_pExtensions != nullptr)
        for (const CLumExtensionTable::Entry& entry : m_options.m_pExtensions->GetEntries())
            if (entry.m_fFunction != fStatement)
                nearMiss.Offer(entry.m_strName);
    std::string strMeant = nearMiss.DidYouMean();
    if (!strMeant.empty())
        return "'" + strName + "' is not declared; " + strMeant;
    if (fStatement)
        return "'" + strName +
               "' is not a declared procedure: a procedure of an imported image needs 'Declare Sub " +
               strName + "(...)'";
    return "'" + strName +
           "' is neither an array nor a declared procedure: Dim the array, or Declare a procedure of an "
           "imported image";
}

// The arrays near a name that is used as one but is none.
std::string CLumCodeGen::NearArray(const std::string& strName) const
{
    CLumNearMiss nearMiss(strName);
    for (const std::string& strArray : m_setArrays)
        nearMiss.Offer(strArray);
    return nearMiss.DidYouMean();
}

bool CLumCodeGen::CheckNewName(const std::string& strName, SLumPos pos, const char* pszWhat)
{
    if (LumFindBuiltin(strName) != nullptr)
        Error(pos, "reserved-name", "'" + strName + "' is a built-in function and cannot name " + pszWhat);
    else if (m_options.m_pExtensions != nullptr && m_options.m_pExtensions->Find(strName) != nullptr)
        Error(pos, "reserved-name",
              "'" + strName + "' is a statement or function of the host and cannot name " + pszWhat);
    else
        return true;
    return false;
}

// "As" must say what the name's type character says: the store types a value by its
// name, so any other type would be lost at the first assignment.
bool CLumCodeGen::CheckTypeWord(const std::string& strName, const std::string& strType, SLumPos pos)
{
    if (strType.empty())
        return true;
    char cType = strName.empty() ? '\0' : strName.back();
    const char* pszByName = cType == '$' ? "String" : cType == '%' ? "Long" : "Double";
    if (strType == pszByName)
        return true;
    std::string strBase = cType == '$' || cType == '%' ? strName.substr(0, strName.size() - 1) : strName;
    const char* pszSuffix = strType == "String" ? "$" : strType == "Long" ? "%" : "";
    Error(pos, "type-word",
          "'" + strName + "' is a " + pszByName + " by its name; a " + strType + " is named '" + strBase +
              pszSuffix + "'");
    return false;
}

void CLumCodeGen::CheckHead(const CLumProc& proc)
{
    CheckNewName(proc.m_strName, proc.m_pos, "a procedure");
    CheckTypeWord(proc.m_strName, proc.m_strType, proc.m_pos);
    if (!proc.m_fFunction && !proc.m_strType.empty())
        Error(proc.m_pos, "type-word", "a Sub gives no value and has no type");
    std::set<std::string> setNames;
    for (const CLumParam& param : proc.m_aParams)
    {
        CheckTypeWord(param.m_strName, param.m_strType, param.m_pos);
        if (!setNames.insert(param.m_strName).second)
            Error(param.m_pos, "duplicate-name", "parameter '" + param.m_strName + "' is named twice");
    }
}

void CLumCodeGen::CheckSameHead(const CLumProc& declaration, const CLumProc& definition)
{
    bool fSame = declaration.m_fFunction == definition.m_fFunction &&
                 declaration.m_aParams.size() == definition.m_aParams.size();
    for (size_t i = 0; fSame && i < declaration.m_aParams.size(); ++i)
        fSame =
            TypeOfName(declaration.m_aParams[i].m_strName) == TypeOfName(definition.m_aParams[i].m_strName) &&
            declaration.m_aParams[i].m_strName.back() == definition.m_aParams[i].m_strName.back();
    if (!fSame)
        Error(definition.m_pos, "declare-mismatch",
              "the definition of '" + definition.m_strName + "' does not match its Declare at line " +
                  std::to_string(declaration.m_pos.m_nLine));
}

void CLumCodeGen::CollectDeclaration(const CLumProc& proc, bool fDefinition)
{
    CheckHead(proc);
    ProcInfo& info = m_mapProcs[proc.m_strName];
    const CLumProc*& pSlot = fDefinition ? info.m_pDefinition : info.m_pDeclaration;
    if (pSlot != nullptr)
    {
        Error(proc.m_pos, "duplicate-name",
              "'" + proc.m_strName + "' is " + (fDefinition ? "defined" : "declared") + " twice; see line " +
                  std::to_string(pSlot->m_pos.m_nLine));
        return;
    }
    pSlot = &proc;
    if (info.m_pDefinition != nullptr && info.m_pDeclaration != nullptr)
        CheckSameHead(*info.m_pDeclaration, *info.m_pDefinition);
}

void CLumCodeGen::CollectProcedures()
{
    for (const auto& pProc : m_program.m_aProcs)
    {
        if (pProc->m_strName.empty())
            continue;
        if (IsMainName(pProc->m_strName))
        {
            if (m_pMain != nullptr)
                Error(pProc->m_pos, "duplicate-name",
                      "Sub Main is defined twice; see line " + std::to_string(m_pMain->m_pos.m_nLine));
            else
            {
                if (pProc->m_fFunction || !pProc->m_aParams.empty())
                    Error(pProc->m_pos, "main-entry",
                          "the entry of a program is 'Sub Main', without parameters");
                m_pMain = pProc.get();
            }
            continue;
        }
        CollectDeclaration(*pProc, true);
        m_mapProcs[pProc->m_strName].m_label = m_writer.NewLabel();
    }
    for (const auto& pStmt : m_program.m_aTopLevel)
        if (pStmt->m_eKind == ELumStmt::Declare && pStmt->m_pProc)
        {
            if (IsMainName(pStmt->m_pProc->m_strName))
                Error(pStmt->m_pos, "main-entry", "Sub Main is the entry of the program and is not declared");
            else
                CollectDeclaration(*pStmt->m_pProc, false);
        }
}

void CLumCodeGen::CollectArrays(const std::vector<LumStmtPtr>& block)
{
    for (const auto& pStmt : block)
    {
        if (pStmt->m_eKind == ELumStmt::Dim && pStmt->m_fHasIndices)
        {
            if (FindProc(pStmt->m_strName) != nullptr)
                Error(pStmt->m_pos, "name-clash",
                      "'" + pStmt->m_strName + "' names a procedure and cannot name an array");
            else if (CheckNewName(pStmt->m_strName, pStmt->m_pos, "an array"))
                m_setArrays.insert(pStmt->m_strName);
        }
        CollectArrays(pStmt->m_aBody);
        CollectArrays(pStmt->m_aElse);
    }
}

void CLumCodeGen::Marker(SLumPos pos)
{
    if (!m_options.m_fLineMarkers)
        return;
    if (!m_aMarkers.empty() && m_aMarkers.back().second == m_writer.GetOffset())
        m_aMarkers.pop_back();
    m_writer.DebugInfo(pos.m_nLine);
    m_aMarkers.emplace_back(pos.m_nLine, m_writer.GetOffset());
}

// The marker of a declaration or a procedure's head notes its line for failures;
// the debugger passes it by, as it runs nothing the user could watch.
void CLumCodeGen::PassedMarker(SLumPos pos)
{
    Marker(pos);
    if (m_options.m_fLineMarkers)
        m_aMarkers.pop_back();
}

std::set<int32_t> CLumCodeGen::GetSteppedLines() const
{
    std::set<int32_t> setLines;
    for (const auto& marker : m_aMarkers)
        setLines.insert(marker.first);
    return setLines;
}

// Outside every procedure a statement runs at depth 0, where only Declare, Import and
// Dim do what they say.
void CLumCodeGen::EmitTopLevel()
{
    for (const auto& pStmt : m_program.m_aTopLevel)
    {
        switch (pStmt->m_eKind)
        {
        case ELumStmt::Declare:
        {
            const ProcInfo* pInfo = pStmt->m_pProc ? FindProc(pStmt->m_pProc->m_strName) : nullptr;
            // A Declare without a body here names a procedure of an imported image: it
            // only lets this source call it.
            if (pInfo != nullptr && pInfo->m_pDefinition != nullptr &&
                pInfo->m_pDeclaration == pStmt->m_pProc.get())
                EmitDeclare(*pInfo->m_pDefinition, pStmt->m_pos);
            break;
        }
        case ELumStmt::Import:
        case ELumStmt::Dim:
            EmitStatement(*pStmt);
            break;
        case ELumStmt::Assign:
        case ELumStmt::AssignTo:
            Error(pStmt->m_pos, "outside-procedure",
                  "an assignment outside every procedure would fail when the program runs; "
                  "put it into Sub Main");
            break;
        default:
            Error(pStmt->m_pos, "outside-procedure",
                  "only Declare, Import and Dim stand outside every procedure; put this statement "
                  "into Sub Main");
            break;
        }
    }
}

void CLumCodeGen::EmitImplicitDeclares()
{
    for (const auto& pProc : m_program.m_aProcs)
    {
        const ProcInfo* pInfo = pProc.get() == m_pMain ? nullptr : FindProc(pProc->m_strName);
        if (pInfo != nullptr && pInfo->m_pDefinition == pProc.get() && pInfo->m_pDeclaration == nullptr)
            EmitDeclare(*pProc, pProc->m_pos);
    }
}

void CLumCodeGen::EmitDeclare(const CLumProc& proc, SLumPos pos)
{
    std::string strText =
        std::string("Declare ") + (proc.m_fFunction ? "Function " : "Sub ") + proc.m_strName + "(";
    for (size_t i = 0; i < proc.m_aParams.size(); ++i)
        strText += (i > 0 ? ", " : "") + proc.m_aParams[i].m_strName;
    strText += ")";
    PassedMarker(pos);
    // The two words are stored, not read, by the interpreter: the kind of the
    // procedure and its number of parameters, for hosts that list the table.
    m_writer.Token(LBT_DECLARE);
    m_writer.Word(proc.m_fFunction ? LBT_FUNCTION : LBT_SUB);
    m_writer.Word(static_cast<unsigned short>(proc.m_aParams.size()));
    m_writer.ProcOffset(m_mapProcs[proc.m_strName].m_label);
    m_writer.CountedText(proc.m_strName);
    m_writer.CountedText(strText);
    m_writer.Separator();
}

void CLumCodeGen::EmitHead(const CLumProc& proc)
{
    std::string strParams;
    for (size_t i = 0; i < proc.m_aParams.size(); ++i)
        strParams += (i > 0 ? ":" : "") + proc.m_aParams[i].m_strName;
    m_writer.Token(proc.m_fFunction ? LBT_FUNCTION : LBT_SUB);
    m_writer.CountedText(proc.m_strName);
    m_writer.CountedText(strParams);
    m_writer.Separator();
}

void CLumCodeGen::EmitMain(const CLumProc& proc)
{
    m_pCurrent = &proc;
    PassedMarker(proc.m_pos);
    EmitHead(proc);
    EmitBlock(proc.m_aBody);
    Marker(proc.m_posEnd);
    m_writer.Token(LBT_END);
    m_writer.Token(LBT_SUB);
    m_writer.Separator();
    m_pCurrent = nullptr;
}

// A called procedure starts at its head, where the Declare's offset points; its
// line marker would stand in front of that offset and is left out.
void CLumCodeGen::EmitProcedure(const CLumProc& proc)
{
    const ProcInfo* pInfo = FindProc(proc.m_strName);
    if (pInfo == nullptr || pInfo->m_pDefinition != &proc)
        return;
    m_pCurrent = &proc;
    m_writer.Place(pInfo->m_label);
    EmitHead(proc);
    EmitBlock(proc.m_aBody);
    Marker(proc.m_posEnd);
    m_writer.Token(LBT_END);
    m_writer.Token(proc.m_fFunction ? LBT_FUNCTION : LBT_SUB);
    m_writer.Separator();
    m_pCurrent = nullptr;
}
