#include "unitops/contract/messages.hpp"

#include "unitops/contract/message_table.hpp"

namespace unitops {

const char* MsgKindName(MsgKind k) {
    switch (k) {
        case MsgKind::Warning: return "warning";
        case MsgKind::Abnormal: return "error";
        case MsgKind::Shown: return "note";
    }
    return "";
}

std::string MsgText::Resolve() const { return number ? MessageText(number) : text; }

void ValidationSink::ValueOutOfRange(unsigned caption, std::string_view label, unsigned kind) {
    ValidationIssue issue;
    issue.object = object_;
    issue.caption = caption;
    issue.label = std::string(label);
    issue.kind = kind;
    issue.text = CaptionText(caption) + ": " + issue.label + " " + RangeKindText(kind) + ".";
    issues_.push_back(std::move(issue));
}

int ValidationSink::ModelDlgMsg(unsigned caption, const MsgText& text, unsigned, unsigned) {
    ValidationIssue issue;
    issue.object = object_;
    issue.caption = caption;
    issue.text = CaptionText(caption) + ": " + text.Resolve();
    issues_.push_back(std::move(issue));
    return IDOK;
}

int ValidationSink::ModelDlgQuestion(unsigned caption, const MsgText& text, unsigned, unsigned flags) {
    int answer = IDYES;
    switch (policy_) {
        case QuestionPolicy::NoChange: answer = flags == kYesNoCancel || (flags & kSecondButtonDefault) ? IDNO : IDYES; break;
        case QuestionPolicy::Yes: answer = IDYES; break;
        case QuestionPolicy::No: answer = IDNO; break;
        case QuestionPolicy::Cancel: answer = (flags & ~kSecondButtonDefault) == kYesNoCancel ? IDCANCEL : IDNO; break;
    }
    const char* said = answer == IDYES ? "yes" : answer == IDNO ? "no" : "cancel";
    questions_.push_back((object_.empty() ? "" : object_ + ": ") + CaptionText(caption) + ": " + text.Resolve() +
                         " -> " + said);
    return answer;
}

}  // namespace unitops
