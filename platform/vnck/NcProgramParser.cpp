#include "NcProgramParser.h"

#include <QMetaType>
#include <QRegularExpression>
#include <QSet>

namespace {

using Expr = NcProgramParser::Expr;
using ExprPtr = NcProgramParser::ExprPtr;
using Block = NcProgramParser::Block;
using Word = NcProgramParser::Word;

// Alarms of the interpreter for what it cannot read.
constexpr long kSyntaxError = 12080;
constexpr long kNameUnknown = 12550;
constexpr long kBadNesting = 12640;
constexpr long kBadDefinition = 12250;

const QSet<QString>& functions()
{
    static const QSet<QString> f{QStringLiteral("SQRT"),  QStringLiteral("ABS"),    QStringLiteral("SIN"),
                                 QStringLiteral("COS"),   QStringLiteral("TAN"),    QStringLiteral("ASIN"),
                                 QStringLiteral("ACOS"),  QStringLiteral("ATAN2"),  QStringLiteral("TRUNC"),
                                 QStringLiteral("ROUND"), QStringLiteral("POT"),    QStringLiteral("MINVAL"),
                                 QStringLiteral("MAXVAL")};
    return f;
}

struct Token
{
    enum Kind { End, Ident, Number, String, Op };
    Kind kind = End;
    QString text;  // Ident upper case, Op the symbol, String the contents
    int pos = 0;
    bool spaceBefore = false;
};

// Splits one block into tokens. Identifiers take letters, digits, '_' and
// '$', so "X10" is one token that the word reader takes apart.
class Lexer
{
public:
    explicit Lexer(const QString& text) : m_text(text) { advance(); }

    const Token& peek() const { return m_tok; }
    Token take()
    {
        Token t = m_tok;
        advance();
        return t;
    }
    bool isOp(const char* op) const { return m_tok.kind == Token::Op && m_tok.text == QLatin1String(op); }
    bool isIdent(const char* id) const { return m_tok.kind == Token::Ident && m_tok.text == QLatin1String(id); }
    QString rest() const { return m_text.mid(m_tok.pos).trimmed(); }
    bool failed() const { return !m_error.isEmpty(); }
    QString error() const { return m_error; }

private:
    void advance()
    {
        const int n = m_text.size();
        const int before = m_pos;
        while (m_pos < n && m_text[m_pos].isSpace())
            ++m_pos;
        m_tok = Token();
        m_tok.pos = m_pos;
        m_tok.spaceBefore = m_pos > before;
        if (m_pos >= n)
            return;
        const QChar c = m_text[m_pos];
        auto identChar = [](QChar ch) { return ch.isLetterOrNumber() || ch == QLatin1Char('_') || ch == QLatin1Char('$'); };
        if (c.isLetter() || c == QLatin1Char('_') || c == QLatin1Char('$')) {
            int e = m_pos;
            while (e < n && identChar(m_text[e]))
                ++e;
            m_tok.kind = Token::Ident;
            m_tok.text = m_text.mid(m_pos, e - m_pos).toUpper();
            m_pos = e;
        } else if (c.isDigit() || (c == QLatin1Char('.') && m_pos + 1 < n && m_text[m_pos + 1].isDigit())) {
            int e = m_pos;
            while (e < n && m_text[e].isDigit())
                ++e;
            if (e < n && m_text[e] == QLatin1Char('.')) {
                ++e;
                while (e < n && m_text[e].isDigit())
                    ++e;
            }
            m_tok.kind = Token::Number;
            m_tok.text = m_text.mid(m_pos, e - m_pos);
            m_pos = e;
        } else if (c == QLatin1Char('"')) {
            const int close = m_text.indexOf(QLatin1Char('"'), m_pos + 1);
            if (close < 0) {
                m_error = QStringLiteral("syntax error at text %1: the string has no end").arg(m_text.mid(m_pos));
                m_pos = n;
                return;
            }
            m_tok.kind = Token::String;
            m_tok.text = m_text.mid(m_pos + 1, close - m_pos - 1);
            m_pos = close + 1;
        } else {
            static const char* const two[] = {"==", "<>", "<=", ">=", "<<"};
            m_tok.kind = Token::Op;
            for (const char* op : two) {
                if (m_text.midRef(m_pos, 2) == QLatin1String(op)) {
                    m_tok.text = QLatin1String(op);
                    m_pos += 2;
                    return;
                }
            }
            m_tok.text = c;
            ++m_pos;
        }
    }

    QString m_text;
    int m_pos = 0;
    Token m_tok;
    QString m_error;
};

struct ParseError
{
    long alarm;
    QString text;
};

ExprPtr make(Expr::Kind kind, const QString& text, QList<ExprPtr> args = {}, double number = 0.0)
{
    auto e = std::make_shared<Expr>();
    e->kind = kind;
    e->text = text;
    e->args = std::move(args);
    e->number = number;
    return e;
}

// Expressions with the NC's order of operators, weakest first: the
// comparisons, then "<<", OR, XOR, AND, "+ -", "* / DIV MOD", the unary
// ones. As on the NC, "A==1 AND B==2" therefore needs its parentheses.
class ExprParser
{
public:
    explicit ExprParser(Lexer& lex) : m_lex(lex) {}

    ExprPtr parse() { return comparison(); }

private:
    [[noreturn]] void fail(const QString& what) const
    {
        throw ParseError{kSyntaxError, QStringLiteral("syntax error at text %1%2")
                                           .arg(m_lex.rest().isEmpty() ? QStringLiteral("(end of block)") : m_lex.rest(),
                                                what.isEmpty() ? QString() : QStringLiteral(": ") + what)};
    }
    ExprPtr comparison()
    {
        ExprPtr left = concatenation();
        while (m_lex.isOp("==") || m_lex.isOp("<>") || m_lex.isOp("<") || m_lex.isOp(">") || m_lex.isOp("<=")
               || m_lex.isOp(">=")) {
            const QString op = m_lex.take().text;
            left = make(Expr::Binary, op, {left, concatenation()});
        }
        return left;
    }
    ExprPtr concatenation()
    {
        ExprPtr left = wordOp(0);
        while (m_lex.isOp("<<")) {
            m_lex.take();
            left = make(Expr::Binary, QStringLiteral("<<"), {left, wordOp(0)});
        }
        return left;
    }
    ExprPtr wordOp(int level)
    {
        static const char* const ops[] = {"OR", "XOR", "AND"};
        if (level == 3)
            return sum();
        ExprPtr left = wordOp(level + 1);
        while (m_lex.isIdent(ops[level])) {
            m_lex.take();
            left = make(Expr::Binary, QLatin1String(ops[level]), {left, wordOp(level + 1)});
        }
        return left;
    }
    ExprPtr sum()
    {
        ExprPtr left = product();
        while (m_lex.isOp("+") || m_lex.isOp("-")) {
            const QString op = m_lex.take().text;
            left = make(Expr::Binary, op, {left, product()});
        }
        return left;
    }
    ExprPtr product()
    {
        ExprPtr left = unary();
        while (m_lex.isOp("*") || m_lex.isOp("/") || m_lex.isIdent("DIV") || m_lex.isIdent("MOD")) {
            const QString op = m_lex.take().text;
            left = make(Expr::Binary, op, {left, unary()});
        }
        return left;
    }
    ExprPtr unary()
    {
        if (m_lex.isOp("-") || m_lex.isOp("+") || m_lex.isIdent("NOT")) {
            const QString op = m_lex.take().text;
            return make(Expr::Unary, op, {unary()});
        }
        return primary();
    }
    QList<ExprPtr> list(const char* close)
    {
        QList<ExprPtr> items;
        if (m_lex.isOp(close)) {
            m_lex.take();
            return items;
        }
        for (;;) {
            items << parse();
            if (m_lex.isOp(close)) {
                m_lex.take();
                return items;
            }
            if (!m_lex.isOp(","))
                fail(QStringLiteral("'%1' or ',' expected").arg(QLatin1String(close)));
            m_lex.take();
        }
    }
    ExprPtr primary()
    {
        const Token t = m_lex.take();
        switch (t.kind) {
        case Token::Number:
            return make(Expr::Number, t.text, {}, t.text.toDouble());
        case Token::String:
            return make(Expr::String, t.text);
        case Token::Ident:
            if (t.text == QLatin1String("TRUE") || t.text == QLatin1String("FALSE"))
                return make(Expr::Number, t.text, {}, t.text == QLatin1String("TRUE") ? 1.0 : 0.0);
            if (m_lex.isOp("(")) {
                if (!functions().contains(t.text))
                    throw ParseError{kNameUnknown, QStringLiteral("name %1 not defined or option/function not available")
                                                       .arg(t.text)};
                m_lex.take();
                return make(Expr::Call, t.text, list(")"));
            }
            if (m_lex.isOp("[") && !m_lex.peek().spaceBefore) {
                m_lex.take();
                return make(Expr::Index, t.text, list("]"));
            }
            return make(Expr::Name, t.text);
        case Token::Op:
            if (t.text == QLatin1String("(")) {
                ExprPtr inner = parse();
                if (!m_lex.isOp(")"))
                    fail(QStringLiteral("')' expected"));
                m_lex.take();
                return inner;
            }
            break;
        case Token::End:
            break;
        }
        throw ParseError{kSyntaxError, QStringLiteral("syntax error at text %1")
                                           .arg(t.kind == Token::End ? QStringLiteral("(end of block)") : t.text + QLatin1Char(' ') + m_lex.rest())};
    }

    Lexer& m_lex;
};

// Strips the comment: ';' outside a string.
QString code(const QString& line)
{
    bool inString = false;
    for (int i = 0; i < line.size(); ++i) {
        if (line[i] == QLatin1Char('"'))
            inString = !inString;
        else if (line[i] == QLatin1Char(';') && !inString)
            return line.left(i);
    }
    return line;
}

void expectEnd(Lexer& lex)
{
    if (lex.peek().kind != Token::End)
        throw ParseError{kSyntaxError, QStringLiteral("syntax error at text %1").arg(lex.rest())};
}

QString jumpTarget(Lexer& lex)
{
    const Token t = lex.take();
    if (t.kind != Token::Ident)
        throw ParseError{kSyntaxError, QStringLiteral("syntax error at text %1: a label or block number to jump to expected")
                                           .arg(t.text)};
    return t.text;
}

int jumpDirection(const QString& keyword)
{
    return keyword == QLatin1String("GOTOF") ? 1 : keyword == QLatin1String("GOTOB") ? -1 : 0;
}

bool isJump(const Token& t)
{
    return t.kind == Token::Ident
           && (t.text == QLatin1String("GOTOF") || t.text == QLatin1String("GOTOB") || t.text == QLatin1String("GOTO")
               || t.text == QLatin1String("GOTOC"));
}

void parseDefinition(Lexer& lex, Block& b)
{
    const QString type = lex.take().text;
    if (type == QLatin1String("INT"))
        b.type = QMetaType::Int;
    else if (type == QLatin1String("REAL"))
        b.type = QMetaType::Double;
    else if (type == QLatin1String("BOOL"))
        b.type = QMetaType::Bool;
    else if (type == QLatin1String("STRING"))
        b.type = QMetaType::QString;
    else
        throw ParseError{kBadDefinition, QStringLiteral("DEF of an unknown type %1 (INT, REAL, BOOL, STRING[n])").arg(type)};
    if (b.type == QMetaType::QString) {
        bool ok = false;
        if (lex.isOp("[")) {
            lex.take();
            b.stringLength = lex.take().text.toInt(&ok);
            ok = ok && lex.isOp("]") && b.stringLength > 0 && b.stringLength <= 200;
            lex.take();
        }
        if (!ok)
            throw ParseError{kBadDefinition, QStringLiteral("DEF STRING needs its length, STRING[1..200]")};
    }
    ExprParser expr(lex);
    for (;;) {
        const Token name = lex.take();
        static const QRegularExpression nameRe(QStringLiteral("^[A-Z_][A-Z0-9_]{0,31}$"));
        if (name.kind != Token::Ident || !nameRe.match(name.text).hasMatch())
            throw ParseError{kBadDefinition, QStringLiteral("DEF: '%1' is no variable name").arg(name.text)};
        NcProgramParser::Definition d;
        d.name = name.text;
        if (lex.isOp("[")) {
            lex.take();
            bool ok = false;
            d.size = lex.take().text.toInt(&ok);
            if (!ok || d.size < 1 || d.size > 10000 || !lex.isOp("]"))
                throw ParseError{kBadDefinition, QStringLiteral("DEF %1: the size of an array is a number from 1 to 10000").arg(d.name)};
            lex.take();
        }
        if (lex.isOp("=")) {
            lex.take();
            if (d.size > 0)
                throw ParseError{kBadDefinition, QStringLiteral("DEF %1: an array takes no initial value here").arg(d.name)};
            d.init = expr.parse();
        }
        b.definitions << d;
        if (!lex.isOp(","))
            break;
        lex.take();
    }
    expectEnd(lex);
}

// "X10" is the address X with 10; "G1" G with 1; "X10.5" comes as "X10" and ".5".
bool splitAddress(const QString& ident, QString& letters, QString& digits)
{
    static const QRegularExpression re(QStringLiteral("^([A-Z]+)([0-9]+)$"));
    const QRegularExpressionMatch m = re.match(ident);
    if (!m.hasMatch())
        return false;
    letters = m.captured(1);
    digits = m.captured(2);
    return true;
}

void parseWords(Lexer& lex, Block& b)
{
    static const QSet<QString> procedures{QStringLiteral("MSG"), QStringLiteral("WRITE"), QStringLiteral("DELETE")};
    ExprParser expr(lex);
    while (lex.peek().kind != Token::End) {
        const Token t = lex.take();
        if (t.kind != Token::Ident)
            throw ParseError{kSyntaxError, QStringLiteral("syntax error at text %1 %2").arg(t.text, lex.rest()).trimmed()};
        Word w;
        w.name = t.text;
        if (lex.isOp("(")) {
            if (!procedures.contains(t.text))
                throw ParseError{kNameUnknown, QStringLiteral("name %1 not defined or option/function not available").arg(t.text)};
            lex.take();
            w.kind = Word::Call;
            if (lex.isOp(")")) {
                lex.take();
            } else {
                for (;;) {
                    w.args << expr.parse();
                    if (lex.isOp(")")) {
                        lex.take();
                        break;
                    }
                    if (!lex.isOp(","))
                        throw ParseError{kSyntaxError, QStringLiteral("syntax error at text %1: ')' expected").arg(lex.rest())};
                    lex.take();
                }
            }
        } else if (lex.isOp("[") && !lex.peek().spaceBefore) {
            lex.take();
            for (;;) {
                w.index << expr.parse();
                if (lex.isOp("]"))
                    break;
                if (!lex.isOp(","))
                    throw ParseError{kSyntaxError, QStringLiteral("syntax error at text %1: ']' expected").arg(lex.rest())};
                lex.take();
            }
            lex.take();
            if (!lex.isOp("="))
                throw ParseError{kSyntaxError, QStringLiteral("syntax error at text %1: '=' expected").arg(lex.rest())};
            lex.take();
            w.value = expr.parse();
        } else if (lex.isOp("=")) {
            lex.take();
            w.value = expr.parse();
        } else {
            QString letters = t.text, digits;
            // Addresses packed without blanks, "N10G1X10Y20": all but the
            // last become words here, the last goes on below (it may have
            // a fraction: "G1X10.5").
            static const QRegularExpression packed(QStringLiteral("^(?:[A-Z][0-9]+){2,}$"));
            static const QRegularExpression group(QStringLiteral("([A-Z])([0-9]+)"));
            if (packed.match(t.text).hasMatch()) {
                QRegularExpressionMatchIterator it = group.globalMatch(t.text);
                while (it.hasNext()) {
                    const QRegularExpressionMatch g = it.next();
                    if (!it.hasNext()) {
                        w.name = letters = g.captured(1);
                        digits = g.captured(2);
                        break;
                    }
                    if (g.captured(1) == QLatin1String("N") && b.words.isEmpty() && b.number.isEmpty()) {
                        b.number = g.captured(0);
                        continue;
                    }
                    Word early;
                    early.name = g.captured(1);
                    early.value = make(Expr::Number, g.captured(2), {}, g.captured(2).toDouble());
                    b.words << early;
                }
            }
            const bool numbered = !digits.isEmpty() || splitAddress(t.text, letters, digits);
            const Token next = lex.peek();
            const bool attached = !next.spaceBefore;
            if (numbered) {
                QString number = digits;
                if (attached && next.kind == Token::Number && next.text.startsWith(QLatin1Char('.')))
                    number += lex.take().text;
                w.name = letters;
                w.value = make(Expr::Number, number, {}, number.toDouble());
            } else if (attached && (next.kind == Token::Number || (next.kind == Token::Op && (next.text == QLatin1String("-") || next.text == QLatin1String("+"))))) {
                // "X-5.5", "F.5"
                const bool negative = next.text == QLatin1String("-");
                if (next.kind == Token::Op)
                    lex.take();
                const Token num = lex.take();
                if (num.kind != Token::Number)
                    throw ParseError{kSyntaxError, QStringLiteral("syntax error at text %1%2").arg(t.text, next.text)};
                w.value = make(Expr::Number, num.text, {}, negative ? -num.text.toDouble() : num.text.toDouble());
            } else {
                w.kind = Word::Keyword;
            }
        }
        b.words << w;
    }
}

void parseStatement(Lexer& lex, Block& b)
{
    if (lex.peek().kind == Token::End)
        return;
    const Token first = lex.peek();
    const QString k = first.kind == Token::Ident ? first.text : QString();
    ExprParser expr(lex);
    if (k == QLatin1String("DEF")) {
        lex.take();
        b.kind = Block::Def;
        parseDefinition(lex, b);
    } else if (k == QLatin1String("IF")) {
        lex.take();
        b.condition = expr.parse();
        if (isJump(lex.peek())) {
            b.kind = Block::IfGoto;
            b.direction = jumpDirection(lex.take().text);
            b.target = jumpTarget(lex);
        } else {
            b.kind = Block::If;
        }
        expectEnd(lex);
    } else if (k == QLatin1String("ELSE") || k == QLatin1String("ENDIF") || k == QLatin1String("ENDWHILE")) {
        lex.take();
        b.kind = k == QLatin1String("ELSE") ? Block::Else : k == QLatin1String("ENDIF") ? Block::EndIf : Block::EndWhile;
        expectEnd(lex);
    } else if (k == QLatin1String("WHILE")) {
        lex.take();
        b.kind = Block::While;
        b.condition = expr.parse();
        expectEnd(lex);
    } else if (isJump(first)) {
        lex.take();
        b.kind = Block::Goto;
        b.direction = jumpDirection(k);
        b.target = jumpTarget(lex);
        expectEnd(lex);
    } else {
        b.kind = Block::Normal;
        parseWords(lex, b);
    }
}

} // namespace

NcProgramParser::Block NcProgramParser::parseLine(const QString& line, int lineNo)
{
    Block b;
    b.line = lineNo;
    Lexer lex(code(line));
    try {
        if (lex.failed())
            throw ParseError{kSyntaxError, lex.error()};
        // A block number and a label may stand in either order before the code.
        for (int i = 0; i < 2; ++i) {
            const Token t = lex.peek();
            static const QRegularExpression numberRe(QStringLiteral("^N[0-9]+$"));
            if (t.kind == Token::Ident && b.number.isEmpty() && numberRe.match(t.text).hasMatch()) {
                b.number = lex.take().text;
            } else if (t.kind == Token::Ident && b.label.isEmpty()) {
                Lexer probe = lex;
                probe.take();
                if (!probe.isOp(":"))
                    break;
                b.label = t.text;
                lex = probe;
                lex.take();
            }
        }
        parseStatement(lex, b);
        if (lex.failed())
            throw ParseError{kSyntaxError, lex.error()};
    } catch (const ParseError& e) {
        b.kind = Block::Error;
        b.alarm = e.alarm;
        b.error = e.text;
    }
    return b;
}

QVector<NcProgramParser::Block> NcProgramParser::parse(const QString& text)
{
    QVector<Block> blocks;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        QString line = lines[i];
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        // "%_N_NAME_MPF" heads a program that came in the NC's archive format.
        if (i == 0 && line.startsWith(QLatin1String("%_N_"))) {
            Block header;
            header.line = 1;
            blocks << header;
            continue;
        }
        blocks << parseLine(line, i + 1);
    }
    // Control structures pair up at once; a block left without its partner
    // is where the program stops.
    auto nestingError = [&](int i, const QString& what) {
        blocks[i].kind = Block::Error;
        blocks[i].alarm = kBadNesting;
        blocks[i].error = QStringLiteral("invalid nesting of control structures: %1").arg(what);
    };
    QVector<int> open;
    bool executed = false;
    for (int i = 0; i < blocks.size(); ++i) {
        Block& b = blocks[i];
        if (b.kind == Block::Def && executed) {
            b.kind = Block::Error;
            b.alarm = 14500;
            b.error = QStringLiteral("illegal DEF instruction in program: definitions stand before the first statement");
            continue;
        }
        if (b.kind != Block::Empty && b.kind != Block::Def)
            executed = true;
        switch (b.kind) {
        case Block::If:
        case Block::While:
            open << i;
            break;
        case Block::Else:
            if (open.isEmpty() || blocks[open.last()].kind != Block::If || blocks[open.last()].partner >= 0) {
                nestingError(i, QStringLiteral("ELSE without IF"));
                break;
            }
            blocks[open.last()].partner = i;
            open.last() = i; // the ENDIF closes the ELSE now
            break;
        case Block::EndIf:
            if (open.isEmpty() || (blocks[open.last()].kind != Block::If && blocks[open.last()].kind != Block::Else)) {
                nestingError(i, QStringLiteral("ENDIF without IF"));
                break;
            }
            blocks[open.last()].partner = i;
            open.removeLast();
            break;
        case Block::EndWhile:
            if (open.isEmpty() || blocks[open.last()].kind != Block::While) {
                nestingError(i, QStringLiteral("ENDWHILE without WHILE"));
                break;
            }
            blocks[open.last()].partner = i;
            b.partner = open.takeLast();
            break;
        default:
            break;
        }
    }
    for (int i : open)
        nestingError(i, blocks[i].kind == Block::While ? QStringLiteral("WHILE without ENDWHILE")
                        : blocks[i].kind == Block::If ? QStringLiteral("IF without ENDIF")
                                                       : QStringLiteral("ELSE without ENDIF"));
    return blocks;
}
