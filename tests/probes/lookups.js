// clsParse's language lookups as a host calls them: in simplified Chinese every
// lookup returns its input, and LoadResFormat takes any number of arguments.

var p = new ActiveXObject("LumoSmsManager.clsParse");
check("g_Language starts empty", p.g_Language, "");
p.g_Language = "chs";
check("g_Language", p.g_Language, "chs");
check("LoadVtString", p.LoadVtString("发送成功"), "发送成功");
check("LoadVtString keeps blanks", p.LoadVtString("  短信 "), "  短信 ");
check("LoadVtString2", p.LoadVtString2("审批通知"), "审批通知");
check("LoadspecialVtString", p.LoadspecialVtString("~$~用户^|^: ^|^张三"), "用户: 张三");
check("LoadResFormat with two arguments", p.LoadResFormat("用户:[%1]关联职员:[%2]", "张三", 12), "用户:[张三]关联职员:[12]");
check("LoadResFormat with one argument", p.LoadResFormat("启用[%1]短信通知成功！", "请假单"), "启用[请假单]短信通知成功！");
check("LoadResFormat without arguments", p.LoadResFormat("发送成功"), "发送成功");
check("GetLanguageFieldName", p.GetLanguageFieldName("FName"), "FName");

// Defaults to simplified Chinese when the session names no language.
var q = new ActiveXObject("LumoSmsManager.clsParse");
check("LoadVtString without a session", q.LoadVtString("发送成功"), "发送成功");
