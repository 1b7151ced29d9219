#include "VynExplain.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <set>

#include "VynStyle.h"

namespace vyn {

namespace {

CRgValue* FindValue(COptionFile& file, const char* key, const char* name) {
    const CRgKey* rgKey = file.FindKey(key);
    return rgKey ? rgKey->FindValue(name) : nullptr;
}

// Appends a step for each file of the stack.
void AppendFiles(const COptionManager& manager, const char* key, const char* name, const SString& style,
                 std::vector<ExplainStep>& steps) {
    for (void* pos = manager.GetFirstFilePosition(); pos;) {
        COptionFile* file = manager.GetNextFile(pos);
        ExplainStep step;
        step.file = file->GetPathName();
        step.style = style;
        if (const CRgValue* value = FindValue(*file, key, name)) {
            step.line = value->GetLine();
            step.text = value->GetValue();
            step.isFixed = file->IsUnredefinable(key, name) != 0;
            step.role = eShadowed;
        }
        steps.push_back(step);
    }
}

// Appends the default of the manager's tables.
void AppendDefault(const COptionManager& manager, const char* key, const char* name, std::vector<ExplainStep>& steps) {
    ExplainStep step;
    step.isDefault = true;
    step.role = eNotDeclared;
    if (const COption* option = manager.FindOption((std::string(key) + '/' + name).c_str())) {
        step.text = option->szDefault;
        step.role = eShadowed;
    }
    steps.push_back(step);
}

// The step among those from `first` to `last` whose value a stack of files gives: the topmost, or the lowest fixed one
// below it; `last` when there is none.
size_t DecidingFile(const std::vector<ExplainStep>& steps, size_t first, size_t last) {
    size_t decision = last;
    for (size_t i = first; i < last; ++i) {
        if (steps[i].role != eNoValue && (decision == last || steps[i].isFixed)) {
            decision = i;
        }
    }
    return decision;
}

// Gives each step its part, once it is known which one decides.
void SetRoles(std::vector<ExplainStep>& steps, size_t decision) {
    for (size_t i = 0; i < steps.size(); ++i) {
        ExplainStep& step = steps[i];
        if (step.role == eNoValue || step.role == eNotDeclared) {
            continue;
        }
        if (i == decision) {
            step.role = eDecides;
        } else if (step.text == steps[decision].text) {
            step.role = eSameAsDecides;
        } else {
            step.role = i < decision ? eOverruled : eShadowed;
        }
    }
}

}  // namespace

const ExplainStep* ValueExplanation::GetDecision() const {
    for (const ExplainStep& step : steps) {
        if (step.role == eDecides) {
            return &step;
        }
    }
    return nullptr;
}

ValueExplanation ExplainValue(const COptionManager& manager, const char* key, const char* name) {
    ValueExplanation explanation;
    explanation.value = manager.GetValue(key, name);
    std::vector<ExplainStep>& steps = explanation.steps;
    const auto* style = dynamic_cast<const CStyle*>(&manager);
    if (!style) {
        AppendFiles(manager, key, name, SString(), steps);
        const size_t decision = DecidingFile(steps, 0, steps.size());
        AppendDefault(manager, key, name, steps);
        SetRoles(steps, decision);
        return explanation;
    }
    // Only the options of its own category are inherited, from the nearest style that has a value.
    size_t decision = 0;
    bool isDecided = false;
    std::set<const CStyle*> asked;
    const COptionManager* last = style;
    std::string path(key);
    for (auto* at = const_cast<CStyle*>(style); at && asked.insert(at).second; at = at->GetParent()) {
        if (at != style) {
            path = at->GetMgrCategory() ? at->GetMgrCategory()->GetPath() : "";
        } else if (!at->GetMgrCategory() || path != at->GetMgrCategory()->GetPath()) {
            break;
        }
        const size_t first = steps.size();
        AppendFiles(*at, path.c_str(), name, at->GetName(), steps);
        const size_t here = DecidingFile(steps, first, steps.size());
        if (!isDecided) {
            decision = here;
            isDecided = here < steps.size();
        }
        last = at;
    }
    AppendDefault(*last, path.c_str(), name, steps);
    SetRoles(steps, isDecided ? decision : steps.size() - 1);
    return explanation;
}

ChangeAnswer CanChange(COptionManager& manager, const char* key, const char* name) {
    ChangeAnswer answer;
    if (!manager.FindOption((std::string(key) + '/' + name).c_str())) {
        answer.obstacle = eUnknownOption;
        return answer;
    }
    void* pos = manager.GetFirstFilePosition();
    if (!pos) {
        answer.obstacle = eNoFile;
        return answer;
    }
    if (manager.IsEditable(key, name)) {
        return answer;
    }
    COptionFile* top = manager.GetNextFile(pos);
    if (!top->IsUnredefinable(key, name)) {
        while (pos) {
            COptionFile* file = manager.GetNextFile(pos);
            if (file->IsUnredefinable(key, name)) {
                answer.obstacle = eFixedBelow;
                answer.file = file->GetPathName();
                answer.line = FindValue(*file, key, name)->GetLine();
                break;
            }
        }
    }
    // Without a fixed value it is the top file that stands in the way.
    if (answer.obstacle == eNoObstacle) {
        const bool isUnloaded = top->IsPersonal() && top->GetLoadError() != 0 && top->GetLoadError() != ENOENT;
        answer.obstacle = isUnloaded ? eNotLoaded : eNotWritable;
        answer.error = isUnloaded ? top->GetLoadError() : access(top->GetPathName(), W_OK) != 0 ? errno : 0;
        answer.file = top->GetPathName();
    }
    return answer;
}

}  // namespace vyn
