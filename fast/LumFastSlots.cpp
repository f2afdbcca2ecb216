// The compiled form of closed runs: a procedure's body made once into ops on slots, from
// the fast form's steps, once the regular way has linked them and found their
// variables. A slot stands for a variable that a step or node of the body found before
// (its cache): all slots are found together, once per check epoch, where the walker
// looks at a cache at every read. Each op knows where its links lead past the line
// markers (a link not made yet leads to an op that gives up, as the walker does there),
// and which Ifs and Fors are open before it; the nodes of its numbers know how the
// walker reads each part of the tree in that place (an empty variable as 0 or not). So
// the compiled form computes, counts, notes and gives up as the walker does (SlotBody,
// LumFastClosed.cpp).
//
// What the compiled form does not compute itself it hands to the walker where it
// stands: assignments of texts and of elements, elements by other indices, built-ins
// and texts inside numbers.
#include "fast/LumFastForm.h"

#include <lumbasic/LumBasic.h>

#include <algorithm>
#include <string>
#include <unordered_map>

namespace
{
// Bodies larger than this stay with the walker, as do bodies whose Ifs and Fors open
// depend on the way to a statement.
const size_t MAX_SLOT_OPS = 1024;

// Makes one body's code: ops and nodes in vectors that hold indices while they grow,
// turned into pointers once all are made.
class CLumSlotMaker
{
public:
    explicit CLumSlotMaker(SLumSlotCode& code) : m_code(code) {}

    // `head` is a procedure's head, or the Next of a loop whose remaining passes the code
    // runs: it begins behind the loop's For, where the Next leads back, with the loop open
    // (kept on the run's list of Fors), and ends where that Next finds the loop ended.
    // False where the body is too large, or its Ifs and Fors open depend on the way to
    // a statement.
    bool Make(SLumFastStep& head)
    {
        std::vector<SLumFastStep*> aPending;
        if (head.m_eKind == SLumFastStep::NEXT)
        {
            m_pLoopNext = &head;
            m_code.m_pCounter = Slot(head.m_cTarget);
        }
        if (!Edge(m_pLoopNext != nullptr ? &head.m_pTaken : &head.m_pNext, m_code.m_cEntry, aPending))
            return false;
        while (!aPending.empty())
        {
            SLumFastStep& step = *aPending.back();
            aPending.pop_back();
            if (!Op(step, m_mapOps[&step], aPending))
                return false;
        }
        if (!Shape() || (m_pLoopNext != nullptr && !LoopEndsAtMarkers()))
            return false;
        Compares();
        // A call in an op's numbers sets the run's count of Ifs and Fors open from it.
        for (size_t n = 0; n < m_aNodesOf.size(); ++n)
            for (size_t i = m_aNodesOf[n].first; i < m_aNodesOf[n].second; ++i)
                m_code.m_aNodes[i].m_nOpen = m_code.m_aOps[n].m_nOpen;
        Link();
        return true;
    }

private:
    using Index = uintptr_t;

    // The Ifs and Fors open before an op: 'T' for an If whose condition held, 'E' for
    // one whose did not, 'F' for a For, the innermost last; the Fors' ops.
    struct SOpenShape
    {
        std::string m_strKinds;
        std::vector<size_t> m_aFors;
        bool m_fSeen = false;
    };

    // The op a link leads to past its markers, made (empty) where it is new. A link not
    // made yet leads to the op of missing links, which the walker would give up at too.
    bool Edge(SLumFastStep* const* ppLink, SLumSlotEdge& edge, std::vector<SLumFastStep*>& aPending)
    {
        unsigned nMarkers = 0;
        long nLine = 0;
        SLumFastStep* pLink = *ppLink;
        std::vector<SLumFastStep*> aActive;
        // As PassMarkers follows them: a long row of them stays missing.
        for (int i = 0; pLink != nullptr && pLink->m_eKind == SLumFastStep::MARKER; ++i)
        {
            if (i == 16)
                return Missing(edge, nullptr);
            ++nMarkers;
            nLine = pLink->m_nLine;
            if (!pLink->m_fMarkerPassive)
                aActive.push_back(pLink);
            ppLink = &pLink->m_pNext;
            pLink = *ppLink;
        }
        if (pLink == nullptr)
            return Missing(edge, ppLink);
        auto found = m_mapOps.find(pLink);
        if (found == m_mapOps.end())
        {
            if (m_code.m_aOps.size() >= MAX_SLOT_OPS)
                return false;
            found = m_mapOps.emplace(pLink, m_code.m_aOps.size()).first;
            m_code.m_aOps.emplace_back();
            aPending.push_back(pLink);
        }
        edge.m_pTo = reinterpret_cast<const SLumSlotOp*>(static_cast<Index>(found->second));
        edge.m_nMarkers = nMarkers;
        edge.m_nLine = nLine;
        edge.m_nSteps = nMarkers + 1;
        Active(edge, aActive);
        return true;
    }

    // The markers a link passes that are not passive, into the code's list.
    void Active(SLumSlotEdge& edge, const std::vector<SLumFastStep*>& aActive)
    {
        edge.m_nFirstActive = static_cast<unsigned>(m_code.m_apActive.size());
        edge.m_nActive = static_cast<unsigned>(aActive.size());
        edge.m_pCounted = aActive.empty() ? nullptr : aActive[0];
        // As NoteHit decides against the marker passed before, at the same depth.
        edge.m_fRestEnter = true;
        for (size_t i = 1; i < aActive.size(); ++i)
            edge.m_fRestEnter = edge.m_fRestEnter && (aActive[i - 1]->m_nLine != aActive[i]->m_nLine ||
                                                      aActive[i]->m_pAt <= aActive[i - 1]->m_pAt);
        m_code.m_apActive.insert(m_code.m_apActive.end(), aActive.begin(), aActive.end());
    }

    bool Missing(SLumSlotEdge& edge, SLumFastStep* const* ppLink)
    {
        if (m_nMissing == SIZE_MAX)
        {
            m_nMissing = m_code.m_aOps.size();
            m_code.m_aOps.emplace_back();
            m_code.m_aOps.back().m_eKind = SLumSlotOp::MISSING;
        }
        if (ppLink != nullptr)
            m_code.m_appMissing.push_back(ppLink);
        edge.m_pTo = reinterpret_cast<const SLumSlotOp*>(static_cast<Index>(m_nMissing));
        return true;
    }

    bool Op(SLumFastStep& step, size_t nOp, std::vector<SLumFastStep*>& aPending)
    {
        SLumSlotOp op;
        op.m_pFastStep = &step;
        bool fNext = true, fTaken = false;
        size_t nFirstNode = m_code.m_aNodes.size();
        switch (step.m_eKind)
        {
        case SLumFastStep::ASSIGN:
            // A text that appends to its own target grows in place the regular way, where a
            // closed run makes it anew: a loop's passes would copy it each time.
            if (step.m_cType == '$' && m_pLoopNext != nullptr && step.m_pAppendTo != nullptr)
            {
                op.m_eKind = SLumSlotOp::GIVE_UP;
                fNext = false;
                break;
            }
            if (step.m_cType == '$')
            {
                op.m_eKind = SLumSlotOp::WALK;
                break;
            }
            op.m_eKind = SLumSlotOp::ASSIGN;
            op.m_cType = step.m_cType;
            op.m_pTarget = Slot(step.m_cTarget);
            op.m_pValue = Statement(step);
            Arith(op);
            break;
        case SLumFastStep::ASSIGN_ELEMENT:
        {
            const SLumFastExpr& target = *step.m_pTarget;
            if (!step.m_fNumeric || step.m_cType == '$' || target.m_apIndices.size() != 1 ||
                target.m_apIndices[0]->m_eOp != SLumFastExpr::VARIABLE || target.m_nNameLength == 0 ||
                target.m_nNameLength + 11 > CLumVariables::MAX_KEY)
            {
                op.m_eKind = SLumSlotOp::WALK;
                break;
            }
            op.m_eKind = SLumSlotOp::ASSIGN_ELEMENT;
            op.m_cType = step.m_cType;
            op.m_pTarget = Slot(target.m_apIndices[0]->m_cCache);
            op.m_pValue = Statement(step);
            break;
        }
        case SLumFastStep::IF:
        case SLumFastStep::WHILE:
        case SLumFastStep::LOOP:
            op.m_eKind = step.m_eKind == SLumFastStep::IF      ? SLumSlotOp::IF
                         : step.m_eKind == SLumFastStep::WHILE ? SLumSlotOp::WHILE
                                                               : SLumSlotOp::LOOP;
            op.m_pValue = Statement(step);
            fTaken = true;
            break;
        case SLumFastStep::ELSE:
            op.m_eKind = SLumSlotOp::ELSE;
            fTaken = true;
            break;
        case SLumFastStep::ENDIF:
            op.m_eKind = SLumSlotOp::ENDIF;
            break;
        case SLumFastStep::WEND:
            op.m_eKind = SLumSlotOp::WEND;
            fNext = false;
            fTaken = true;
            break;
        case SLumFastStep::DO:
            op.m_eKind = SLumSlotOp::DO;
            break;
        case SLumFastStep::FOR:
            op.m_eKind = SLumSlotOp::FOR;
            op.m_cType = step.m_cType;
            op.m_pValue = Value(*step.m_pExpr);
            op.m_pTarget = Slot(step.m_cTarget);
            op.m_pEnd = Value(*step.m_apArgs[0]);
            op.m_pStep = step.m_apArgs.size() > 1 ? Value(*step.m_apArgs[1]) : nullptr;
            break;
        case SLumFastStep::NEXT:
            op.m_eKind = SLumSlotOp::NEXT;
            fTaken = true;
            // The loop's own Next ends the code where the loop ends.
            if (&step == m_pLoopNext)
            {
                fNext = false;
                op.m_cNext = LoopEnd(step);
            }
            break;
        case SLumFastStep::CALL:
            op.m_eKind = SLumSlotOp::CALL;
            Arguments(step.m_apArgs, op.m_ppArgs, op.m_nArgs);
            break;
        case SLumFastStep::END:
            op.m_eKind = SLumSlotOp::END;
            fNext = false;
            break;
        default:
            // The walker gives up here too.
            op.m_eKind = SLumSlotOp::GIVE_UP;
            fNext = false;
            break;
        }
        if ((fNext && !Edge(&step.m_pNext, op.m_cNext, aPending)) ||
            (fTaken && !Edge(&step.m_pTaken, op.m_cTaken, aPending)))
            return false;
        m_code.m_aOps[nOp] = op;
        if (m_aNodesOf.size() <= nOp)
            m_aNodesOf.resize(nOp + 1);
        m_aNodesOf[nOp] = {nFirstNode, m_code.m_aNodes.size()};
        return true;
    }

    // The end of a loop's code behind its Next: an End of no markers and no statements,
    // which gives the Next.
    SLumSlotEdge LoopEnd(SLumFastStep& next)
    {
        SLumSlotEdge edge;
        edge.m_pTo = reinterpret_cast<const SLumSlotOp*>(static_cast<Index>(m_code.m_aOps.size()));
        m_code.m_aOps.emplace_back();
        m_code.m_aOps.back().m_eKind = SLumSlotOp::END;
        m_code.m_aOps.back().m_pFastStep = &next;
        Active(edge, {});
        return edge;
    }

    // Every way to the loop's Next passes a line marker, so that a loop that ends whole
    // leaves the line as the marker left it for the Next (not a call's way back).
    bool LoopEndsAtMarkers() const
    {
        auto found = m_mapOps.find(m_pLoopNext);
        if (found == m_mapOps.end())
            return false;
        auto marked = [&](const SLumSlotEdge& edge) {
            return reinterpret_cast<Index>(edge.m_pTo) != found->second || edge.m_nMarkers != 0;
        };
        if (!marked(m_code.m_cEntry))
            return false;
        for (const SLumSlotOp& op : m_code.m_aOps)
        {
            // The links each kind of op follows (Else and End If are jumps folded into them).
            bool fNext = op.m_eKind != SLumSlotOp::WEND && op.m_eKind != SLumSlotOp::END &&
                         op.m_eKind != SLumSlotOp::GIVE_UP && op.m_eKind != SLumSlotOp::MISSING &&
                         op.m_eKind != SLumSlotOp::JUMP;
            bool fTaken = op.m_eKind == SLumSlotOp::IF || op.m_eKind == SLumSlotOp::WHILE ||
                          op.m_eKind == SLumSlotOp::LOOP || op.m_eKind == SLumSlotOp::NEXT ||
                          op.m_eKind == SLumSlotOp::WEND;
            if ((fNext && !marked(op.m_cNext)) || (fTaken && !marked(op.m_cTaken)))
                return false;
        }
        return true;
    }

    // A slot for a variable's cache.
    SLumSlot* Slot(const CLumNameCache& cache)
    {
        m_code.m_aSlots.push_back(SLumSlot{&cache, nullptr, 0});
        return reinterpret_cast<SLumSlot*>(static_cast<Index>(m_code.m_aSlots.size() - 1));
    }

    const SLumSlotNode* Node(const SLumSlotNode& node)
    {
        m_code.m_aNodes.push_back(node);
        return reinterpret_cast<const SLumSlotNode*>(static_cast<Index>(m_code.m_aNodes.size() - 1));
    }

    const SLumSlotNode* Kind(SLumSlotNode::EKind eKind, SLumFastExpr* pExpr = nullptr)
    {
        SLumSlotNode node;
        node.m_eKind = eKind;
        node.m_pExpr = pExpr;
        return Node(node);
    }

    const SLumSlotNode* Constant(const SLumFastExpr& expr)
    {
        if (!expr.m_fNumber)
            return Kind(SLumSlotNode::GIVE_UP);
        SLumSlotNode node;
        node.m_eKind = SLumSlotNode::CONSTANT;
        node.m_cNumber = expr.m_cNumber;
        return Node(node);
    }

    const SLumSlotNode* Variable(const SLumFastExpr& expr, SLumSlotNode::EKind eKind)
    {
        SLumSlotNode node;
        node.m_eKind = eKind;
        node.m_pSlot = Slot(expr.m_cCache);
        return Node(node);
    }

    // An operator on two nodes made; one on a variable and a constant is fused.
    const SLumSlotNode* Operator(const SLumFastExpr& expr, const SLumSlotNode* pLeft,
                                 const SLumSlotNode* pRight)
    {
        SLumSlotNode node;
        node.m_eKind = SLumSlotNode::OPERATOR;
        node.m_wToken = expr.m_wToken;
        node.m_pLeft = pLeft;
        node.m_pRight = pRight;
        const SLumSlotNode& left = m_code.m_aNodes[reinterpret_cast<Index>(pLeft)];
        const SLumSlotNode& right = m_code.m_aNodes[reinterpret_cast<Index>(pRight)];
        if ((left.m_eKind == SLumSlotNode::SLOT_ANY || left.m_eKind == SLumSlotNode::SLOT_NUMBER) &&
            right.m_eKind == SLumSlotNode::CONSTANT)
        {
            if (!right.m_cNumber.m_fDouble)
                node.m_eKind = SLumSlotNode::OPERATOR_LONG;
            else if (node.m_wToken == LBT_PLUS || node.m_wToken == LBT_MINUS || node.m_wToken == LBT_MUL)
                node.m_eKind = SLumSlotNode::OPERATOR_DOUBLE;
        }
        return Node(node);
    }

    // An assignment of `+`, `-` or `*` on two leaves (variables or constants) to a typed
    // op, the most frequent statement of loops: it reads both through slots, a constant
    // from a slot of its own, and computes at once where both hold numbers.
    void Arith(SLumSlotOp& op)
    {
        const SLumSlotNode& value = m_code.m_aNodes[reinterpret_cast<Index>(op.m_pValue)];
        if (value.m_eKind != SLumSlotNode::OPERATOR && value.m_eKind != SLumSlotNode::OPERATOR_LONG &&
            value.m_eKind != SLumSlotNode::OPERATOR_DOUBLE)
            return;
        SLumSlotOp::EKind eKind = value.m_wToken == LBT_PLUS    ? SLumSlotOp::ASSIGN_ADD
                                  : value.m_wToken == LBT_MINUS ? SLumSlotOp::ASSIGN_SUB
                                  : value.m_wToken == LBT_MUL   ? SLumSlotOp::ASSIGN_MUL
                                                                : SLumSlotOp::ASSIGN;
        const SLumSlotNode& left = m_code.m_aNodes[reinterpret_cast<Index>(value.m_pLeft)];
        const SLumSlotNode& right = m_code.m_aNodes[reinterpret_cast<Index>(value.m_pRight)];
        if (eKind == SLumSlotOp::ASSIGN || !IsLeaf(left) || !IsLeaf(right))
            return;
        op.m_eKind = eKind;
        op.m_pLeft = LeafSlot(left);
        op.m_pRight = LeafSlot(right);
    }

    // An If of a variable against a long constant to a typed op, once the shape of the
    // code knows its Ifs: it decides at once where the variable holds a long.
    void Compares()
    {
        for (SLumSlotOp& op : m_code.m_aOps)
        {
            if (op.m_eKind != SLumSlotOp::IF)
                continue;
            const SLumSlotNode& value = m_code.m_aNodes[reinterpret_cast<Index>(op.m_pValue)];
            if (value.m_eKind != SLumSlotNode::OPERATOR_LONG)
                continue;
            const std::pair<unsigned short, SLumSlotOp::EKind> aKinds[] = {
                {LBT_EQ, SLumSlotOp::IF_EQ}, {LBT_NE, SLumSlotOp::IF_NE}, {LBT_LT, SLumSlotOp::IF_LT},
                {LBT_LE, SLumSlotOp::IF_LE}, {LBT_GT, SLumSlotOp::IF_GT}, {LBT_GE, SLumSlotOp::IF_GE}};
            for (const auto& kind : aKinds)
                if (kind.first == value.m_wToken)
                {
                    op.m_eKind = kind.second;
                    op.m_pLeft = m_code.m_aNodes[reinterpret_cast<Index>(value.m_pLeft)].m_pSlot;
                    op.m_nConstant =
                        m_code.m_aNodes[reinterpret_cast<Index>(value.m_pRight)].m_cNumber.m_nLong;
                }
        }
    }

    static bool IsLeaf(const SLumSlotNode& node)
    {
        return node.m_eKind == SLumSlotNode::SLOT_ANY || node.m_eKind == SLumSlotNode::SLOT_NUMBER ||
               node.m_eKind == SLumSlotNode::CONSTANT;
    }

    // A leaf's slot: a variable's own, a constant's made with its value.
    SLumSlot* LeafSlot(const SLumSlotNode& node)
    {
        if (node.m_eKind != SLumSlotNode::CONSTANT)
            return node.m_pSlot;
        const SLumNumber& n = node.m_cNumber;
        m_code.m_aConstants.push_back(n.m_fDouble ? CLumsVarValue(n.m_dDouble)
                                                  : CLumsVarValue(static_cast<long>(n.m_nLong)));
        m_code.m_aSlots.push_back(SLumSlot{nullptr, &m_code.m_aConstants.back(), 0});
        return reinterpret_cast<SLumSlot*>(static_cast<Index>(m_code.m_aSlots.size() - 1));
    }

    // A statement's value or condition, as ClosedExpression computes it.
    const SLumSlotNode* Statement(SLumFastStep& step)
    {
        return step.m_fCommitted || !step.m_fNumeric ? Value(*step.m_pExpr) : Number(*step.m_pExpr);
    }

    // A number as ClosedLeaf and ClosedTreeOperand compute it: an empty variable as 0.
    const SLumSlotNode* Number(SLumFastExpr& expr)
    {
        switch (expr.m_eOp)
        {
        case SLumFastExpr::CONSTANT:
            return Constant(expr);
        case SLumFastExpr::VARIABLE:
            return Variable(expr, SLumSlotNode::SLOT_ANY);
        case SLumFastExpr::OPERATOR:
        {
            const SLumSlotNode* pLeft = Number(*expr.m_pLeft);
            return Operator(expr, pLeft, Number(*expr.m_pRight));
        }
        case SLumFastExpr::OTHER:
            return Kind(SLumSlotNode::WALK_BUILTIN, &expr);
        case SLumFastExpr::ELEMENT:
            return Element(expr);
        default:
            return Kind(SLumSlotNode::GIVE_UP);
        }
    }

    // An element as ClosedElement reads it.
    const SLumSlotNode* Element(SLumFastExpr& expr)
    {
        if (expr.m_apIndices.size() != 1 || expr.m_apIndices[0]->m_eOp != SLumFastExpr::VARIABLE ||
            expr.m_nNameLength > CLumVariables::MAX_KEY)
            return Kind(SLumSlotNode::WALK_NUMBER, &expr);
        SLumSlotNode node;
        node.m_eKind = SLumSlotNode::ELEMENT;
        node.m_pExpr = &expr;
        node.m_pSlot = Slot(expr.m_apIndices[0]->m_cCache);
        return Node(node);
    }

    // As ClosedPure computes a part that only computes.
    const SLumSlotNode* Pure(SLumFastExpr& expr, bool fEmptyIsZero)
    {
        if (expr.m_fNumericValue)
            return Number(expr);
        switch (expr.m_eOp)
        {
        case SLumFastExpr::CONSTANT:
            return Constant(expr);
        case SLumFastExpr::OTHER:
            return Kind(SLumSlotNode::WALK_BUILTIN, &expr);
        case SLumFastExpr::ELEMENT:
            return Element(expr);
        case SLumFastExpr::OPERATOR:
            return Kind(SLumSlotNode::WALK_TEXT, &expr);
        case SLumFastExpr::VARIABLE:
            return Variable(expr, fEmptyIsZero ? SLumSlotNode::SLOT_ANY : SLumSlotNode::SLOT_NUMBER);
        default:
            return Kind(SLumSlotNode::GIVE_UP);
        }
    }

    // A value as ClosedValue computes it.
    const SLumSlotNode* Value(SLumFastExpr& expr)
    {
        if (expr.m_fPure)
            return Pure(expr, false);
        if (expr.m_eOp == SLumFastExpr::USERCALL)
            return Call(expr);
        if (expr.m_eOp != SLumFastExpr::OPERATOR)
            return Kind(SLumSlotNode::GIVE_UP);
        if (expr.m_fText)
            return Kind(SLumSlotNode::WALK_TEXT_FRAMED, &expr);
        const SLumSlotNode* pLeft = Operand(*expr.m_pLeft);
        return Operator(expr, pLeft, Operand(*expr.m_pRight));
    }

    // As ClosedOperand.
    const SLumSlotNode* Operand(SLumFastExpr& expr)
    {
        if (expr.m_eOp == SLumFastExpr::CONSTANT)
            return Constant(expr);
        if (expr.m_eOp == SLumFastExpr::USERCALL)
            return Call(expr);
        return Value(expr);
    }

    // An argument as ClosedArgument computes it.
    const SLumSlotNode* Argument(SLumFastExpr& expr)
    {
        if (!expr.m_fPure)
            return Value(expr);
        if (expr.m_eOp == SLumFastExpr::VARIABLE)
            return Variable(expr, SLumSlotNode::SLOT_ANY);
        return Pure(expr, true);
    }

    const SLumSlotNode* Call(SLumFastExpr& expr)
    {
        SLumSlotNode node;
        node.m_eKind = SLumSlotNode::CALL;
        node.m_pExpr = &expr;
        Arguments(expr.m_apIndices, node.m_ppArgs, node.m_nArgs);
        return Node(node);
    }

    // The arguments' nodes, in a row of the code's list (as an index while it grows).
    void Arguments(const std::vector<SLumFastExpr*>& args, const SLumSlotNode* const*& ppArgs, size_t& nArgs)
    {
        std::vector<const SLumSlotNode*> aNodes;
        for (SLumFastExpr* pArg : args)
            aNodes.push_back(Argument(*pArg));
        ppArgs = reinterpret_cast<const SLumSlotNode* const*>(static_cast<Index>(m_code.m_apArgs.size()));
        nArgs = aNodes.size();
        m_code.m_apArgs.insert(m_code.m_apArgs.end(), aNodes.begin(), aNodes.end());
    }

    // Indices into pointers, the vectors grown to their sizes.
    void Link()
    {
        SLumSlot* pSlots = m_code.m_aSlots.data();
        const SLumSlotNode* pNodes = m_code.m_aNodes.data();
        const SLumSlotNode** ppArgs = m_code.m_apArgs.data();
        SLumSlotOp* pOps = m_code.m_aOps.data();
        auto ToNode = [&](const SLumSlotNode*& p) {
            p = pNodes + reinterpret_cast<Index>(p);
        };
        auto ToSlot = [&](SLumSlot*& p) {
            p = pSlots + reinterpret_cast<Index>(p);
        };
        auto ToArgs = [&](const SLumSlotNode* const*& p) {
            p = ppArgs + reinterpret_cast<Index>(p);
        };
        auto ToEdge = [&](SLumSlotEdge& edge) {
            edge.m_pTo = pOps + reinterpret_cast<Index>(edge.m_pTo);
        };
        for (const SLumSlotNode*& p : m_code.m_apArgs)
            ToNode(p);
        for (SLumSlotNode& node : m_code.m_aNodes)
            switch (node.m_eKind)
            {
            case SLumSlotNode::OPERATOR:
            case SLumSlotNode::OPERATOR_LONG:
            case SLumSlotNode::OPERATOR_DOUBLE:
                ToNode(node.m_pLeft);
                ToNode(node.m_pRight);
                break;
            case SLumSlotNode::SLOT_ANY:
            case SLumSlotNode::SLOT_NUMBER:
            case SLumSlotNode::ELEMENT:
                ToSlot(node.m_pSlot);
                break;
            case SLumSlotNode::CALL:
                ToArgs(node.m_ppArgs);
                break;
            default:
                break;
            }
        if (m_pLoopNext != nullptr)
            ToSlot(m_code.m_pCounter);
        ToEdge(m_code.m_cEntry);
        for (SLumSlotOp& op : m_code.m_aOps)
        {
            ToEdge(op.m_cNext);
            ToEdge(op.m_cTaken);
            switch (op.m_eKind)
            {
            case SLumSlotOp::ASSIGN_ADD:
            case SLumSlotOp::ASSIGN_SUB:
            case SLumSlotOp::ASSIGN_MUL:
                ToSlot(op.m_pLeft);
                ToSlot(op.m_pRight);
                ToSlot(op.m_pTarget);
                ToNode(op.m_pValue);
                break;
            case SLumSlotOp::IF_EQ:
            case SLumSlotOp::IF_NE:
            case SLumSlotOp::IF_LT:
            case SLumSlotOp::IF_LE:
            case SLumSlotOp::IF_GT:
            case SLumSlotOp::IF_GE:
                ToSlot(op.m_pLeft);
                ToNode(op.m_pValue);
                break;
            case SLumSlotOp::FOR:
                ToNode(op.m_pEnd);
                if (op.m_pFastStep->m_apArgs.size() > 1)
                    ToNode(op.m_pStep);
                [[fallthrough]];
            case SLumSlotOp::ASSIGN:
            case SLumSlotOp::ASSIGN_ELEMENT:
                ToSlot(op.m_pTarget);
                [[fallthrough]];
            case SLumSlotOp::IF:
            case SLumSlotOp::WHILE:
            case SLumSlotOp::LOOP:
                ToNode(op.m_pValue);
                break;
            case SLumSlotOp::NEXT:
                ToSlot(op.m_pTarget);
                break;
            case SLumSlotOp::CALL:
                ToArgs(op.m_ppArgs);
                break;
            default:
                break;
            }
        }
    }

    // The Ifs and Fors open before each op, as the walker finds them on every way there
    // (its own For for a Next among them); an op that finds them out of its order, or
    // past the most one procedure holds, gives up as the walker does there. False where
    // two ways reach an op with different ones.
    bool Shape()
    {
        using SOpen = SOpenShape;
        std::vector<SOpen> aOpen(m_code.m_aOps.size());
        std::vector<size_t> aPending;
        auto Reach = [&](const SLumSlotEdge& edge, const SOpen& open) {
            size_t n = reinterpret_cast<Index>(edge.m_pTo);
            SOpen& at = aOpen[n];
            if (m_code.m_aOps[n].m_eKind == SLumSlotOp::MISSING ||
                m_code.m_aOps[n].m_eKind == SLumSlotOp::GIVE_UP)
                return true;
            if (at.m_fSeen)
                return at.m_aFors == open.m_aFors &&
                       (at.m_strKinds == open.m_strKinds || EndIfOfBoth(n, at, open));
            at = open;
            at.m_fSeen = true;
            aPending.push_back(n);
            return true;
        };
        // A loop's code begins inside its loop, which the Next's ops stand for.
        SOpen entry;
        if (m_pLoopNext != nullptr)
        {
            entry.m_strKinds = "F";
            entry.m_aFors.push_back(LOOP_FOR);
        }
        if (!Reach(m_code.m_cEntry, entry))
            return false;
        while (!aPending.empty())
        {
            size_t n = aPending.back();
            aPending.pop_back();
            SLumSlotOp& op = m_code.m_aOps[n];
            const SOpen open = aOpen[n];
            op.m_nOpen = static_cast<int>(open.m_strKinds.size());
            char cTop = open.m_strKinds.empty() ? 0 : open.m_strKinds.back();
            bool fIfOnTop = cTop == 'T' || cTop == 'E';
            size_t nIfs = open.m_strKinds.size() - open.m_aFors.size();
            SOpen next = open;
            bool fNext = false, fTaken = false;
            switch (op.m_eKind)
            {
            case SLumSlotOp::IF:
                if (nIfs == static_cast<size_t>(CLumFastForm::MAX_CLOSED_IFS))
                {
                    GiveUp(op);
                    continue;
                }
                m_code.m_nMaxOpen = std::max(m_code.m_nMaxOpen, op.m_nOpen);
                if (!Reach(op.m_cTaken, SOpen{open.m_strKinds + 'E', open.m_aFors}))
                    return false;
                next.m_strKinds += 'T';
                fNext = true;
                break;
            case SLumSlotOp::ELSE:
                if (!fIfOnTop)
                {
                    GiveUp(op);
                    continue;
                }
                // Its If's condition is known on every way here: a jump, taken where the
                // condition held.
                op.m_eKind = SLumSlotOp::JUMP;
                if (cTop == 'T')
                    op.m_cNext = op.m_cTaken;
                fNext = true;
                break;
            case SLumSlotOp::ENDIF:
                if (!fIfOnTop)
                {
                    GiveUp(op);
                    continue;
                }
                // The Ifs open are known from the code: nothing is left to do.
                op.m_eKind = SLumSlotOp::JUMP;
                next.m_strKinds.pop_back();
                fNext = true;
                break;
            case SLumSlotOp::FOR:
                if (open.m_aFors.size() == CLumFastForm::MAX_CLOSED_FORS)
                {
                    GiveUp(op);
                    continue;
                }
                next.m_strKinds += 'F';
                next.m_aFors.push_back(n);
                fNext = true;
                m_code.m_nMaxOpen = std::max(m_code.m_nMaxOpen, op.m_nOpen);
                break;
            case SLumSlotOp::NEXT:
            {
                // The loop a loop's code runs ends at its own Next only.
                if (cTop != 'F' || (open.m_aFors.back() == LOOP_FOR) != (op.m_pFastStep == m_pLoopNext))
                {
                    GiveUp(op);
                    continue;
                }
                op.m_pTarget = open.m_aFors.back() == LOOP_FOR ? m_code.m_pCounter
                                                               : m_code.m_aOps[open.m_aFors.back()].m_pTarget;
                // Another pass keeps the loop open, the last closes it.
                if (!Reach(op.m_cTaken, open))
                    return false;
                next.m_strKinds.pop_back();
                next.m_aFors.pop_back();
                fNext = true;
                break;
            }
            case SLumSlotOp::END:
                if (!open.m_strKinds.empty())
                    GiveUp(op);
                break;
            case SLumSlotOp::WEND:
                fTaken = true;
                break;
            case SLumSlotOp::WHILE:
            case SLumSlotOp::LOOP:
                fNext = fTaken = true;
                break;
            case SLumSlotOp::MISSING:
            case SLumSlotOp::GIVE_UP:
                break;
            default:
                fNext = true;
                break;
            }
            if ((fNext && !Reach(op.m_cNext, next)) || (fTaken && !Reach(op.m_cTaken, open)))
                return false;
        }
        Fold();
        return true;
    }

    // An End If is reached from both ways of its If, which differ only in that If's
    // condition: it closes it.
    bool EndIfOfBoth(size_t n, const SOpenShape& at, const SOpenShape& open) const
    {
        const std::string& a = at.m_strKinds;
        const std::string& b = open.m_strKinds;
        return m_code.m_aOps[n].m_pFastStep->m_eKind == SLumFastStep::ENDIF && a.size() == b.size() &&
               !a.empty() && a.compare(0, a.size() - 1, b, 0, b.size() - 1) == 0 &&
               (a.back() == 'T' || a.back() == 'E') && (b.back() == 'T' || b.back() == 'E');
    }

    // A link to jumps leads on to where the last leads, each jump counted as a
    // statement, the markers of the links passed in their order.
    void Fold()
    {
        auto fold = [&](SLumSlotEdge& edge) {
            auto active = [&](const SLumSlotEdge& e) {
                return std::vector<SLumFastStep*>(m_code.m_apActive.begin() + e.m_nFirstActive,
                                                  m_code.m_apActive.begin() + e.m_nFirstActive + e.m_nActive);
            };
            std::vector<SLumFastStep*> aActive = active(edge);
            SLumSlotEdge folded = edge;
            for (int nHops = 0; nHops < 16; ++nHops)
            {
                const SLumSlotOp& to = m_code.m_aOps[reinterpret_cast<Index>(folded.m_pTo)];
                if (to.m_eKind != SLumSlotOp::JUMP)
                    break;
                const SLumSlotEdge& on = to.m_cNext;
                folded.m_pTo = on.m_pTo;
                folded.m_nSteps += on.m_nSteps;
                folded.m_nMarkers += on.m_nMarkers;
                if (on.m_nMarkers != 0)
                    folded.m_nLine = on.m_nLine;
                std::vector<SLumFastStep*> aOn = active(on);
                aActive.insert(aActive.end(), aOn.begin(), aOn.end());
            }
            if (m_code.m_aOps[reinterpret_cast<Index>(folded.m_pTo)].m_eKind == SLumSlotOp::JUMP)
                return; // a row of jumps too long: left as it is
            Active(folded, aActive);
            edge = folded;
        };
        fold(m_code.m_cEntry);
        for (SLumSlotOp& op : m_code.m_aOps)
            if (op.m_eKind != SLumSlotOp::JUMP)
            {
                fold(op.m_cNext);
                fold(op.m_cTaken);
            }
    }

    // An op the walker gives up at, where it stands.
    static void GiveUp(SLumSlotOp& op) { op.m_eKind = SLumSlotOp::GIVE_UP; }

    // The For of a loop's code, which is none of its ops.
    static constexpr size_t LOOP_FOR = SIZE_MAX;

    SLumSlotCode& m_code;
    // The loop's Next, for a loop's code.
    SLumFastStep* m_pLoopNext = nullptr;
    std::unordered_map<SLumFastStep*, size_t> m_mapOps;
    size_t m_nMissing = SIZE_MAX;
    // The nodes each op made, from the first to behind the last.
    std::vector<std::pair<size_t, size_t>> m_aNodesOf;
};
} // namespace

// The body's code where it is made and its slots are found in the epoch; null for the
// walker. Code that met a missing link is made again once one of its missing links is
// made (the code before stays, for the runs that may still stand in it).
SLumSlotCode* CLumFastForm::SlotsFound(SLumFastStep& head, uint64_t nScope)
{
    SLumSlotCode* pCode = head.m_pSlots;
    if (pCode == nullptr || pCode->m_fRemake)
    {
        bool fLinked = pCode == nullptr;
        if (pCode != nullptr)
        {
            pCode->m_fRemake = false;
            for (SLumFastStep* const* ppLink : pCode->m_appMissing)
                fLinked = fLinked || *ppLink != nullptr;
        }
        if (fLinked && (pCode = SlotsMade(head)) == nullptr)
            return nullptr;
    }
    uint64_t nGeneration = m_pStore->GetGeneration();
    for (const SLumSlot& slot : pCode->m_aSlots)
    {
        if (slot.m_pCache == nullptr)
            continue; // a constant's
        const CLumNameCache& cache = *slot.m_pCache;
        if (cache.m_nScope != nScope || cache.m_nGeneration != nGeneration || cache.m_pValue == nullptr)
            return nullptr;
    }
    for (SLumSlot& slot : pCode->m_aSlots)
        if (slot.m_pCache != nullptr)
            slot.m_pValue = slot.m_pCache->m_pValue;
    pCode->m_nEpoch = m_nCheckEpoch;
    pCode->m_nScope = nScope;
    return pCode;
}

SLumSlotCode* CLumFastForm::SlotsMade(SLumFastStep& head)
{
    if (head.m_fNoSlots)
        return nullptr;
    auto pCode = std::make_unique<SLumSlotCode>();
    if (!CLumSlotMaker(*pCode).Make(head))
    {
        head.m_fNoSlots = true;
        return nullptr;
    }
    head.m_pSlots = pCode.get();
    m_aSlotCodes.push_back(std::move(pCode));
    return head.m_pSlots;
}
