// clsDispBuilder used late-bound: a table built column by column and row by row,
// read back through the builder, its errors reaching the caller. (Showing the
// window is covered by the windowed tests.)

var b = new ActiveXObject("LumoSmsManager.clsDispBuilder");
check("default caption", b.Caption, "Lumo显示器");
b.Caption = "脚本表";
check("Caption", b.Caption, "脚本表");
b.Titles = "名称\t数量\t说明|";
check("Titles", b.Titles, "名称\t数量\t说明|");
b.Cols = 3;
check("Cols", b.Cols, 3);
b.SetColType(2, 1);
b.SetColType(0, 1);   // outside: ignored
b.SetColType(9, 2);   // outside: ignored
b.SetColWidth(3, 2000);
b.Add("甲\t1\t第一");
b.Add("乙\t22\t第二");
check("header cell", b.GetText(0, 1), "名称");
check("row 1", b.GetText(1, 3), "第一");
check("row 2", b.GetText(2, 2), "22");
check("outside", b.GetText(3, 1), "");
check("SetText result", b.SetText(2, 2, "33"), "");
check("SetText", b.GetText(2, 2), "33");
b.Row = 2;
check("Row", b.Row, 2);
check("Col inert", b.Col, 0);
b.Text = "ignored";
check("Text inert", b.Text, "");
b.NeedDisplay = 1;
b.DisplayStyle = 4;
b.PromptContent = "内容";
b.PromptTitle = "标题";
check("NeedDisplay", b.NeedDisplay, 1);
check("DisplayStyle", b.DisplayStyle, 4);
check("PromptContent", b.PromptContent, "内容");
check("PromptTitle", b.PromptTitle, "标题");
check("PromptResult before closing", b.PromptResult, 0);
expectError("Cols = -1", 5, function () { b.Cols = -1; });
check("Cols kept", b.Cols, 3);
// Show with no row added does nothing (a second builder, never filled).
var empty = new ActiveXObject("LumoSmsManager.clsDispBuilder");
empty.Cols = 2;
empty.Show(1);
check("empty builder shown nothing", empty.Cols, 2);
