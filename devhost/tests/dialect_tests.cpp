#include <gtest/gtest.h>

#include "devhost/components/sql_dialect.h"

namespace lumo::devhost {
namespace {

std::string adapt(const char16_t* sql) { return toUtf8(adaptSqlForSqlite(sql)); }

TEST(SqlDialect, IsNullCallBecomesIfNull) {
  EXPECT_EQ(adapt(u"Where IsNull(t1.FDepartmentID,0)=0"), "Where IfNull(t1.FDepartmentID,0)=0");
  EXPECT_EQ(adapt(u"select ISNULL (a, 1), isnull(b,2) from t"), "select IfNull (a, 1), IfNull(b,2) from t");
}

TEST(SqlDialect, IsNullOutsideACallIsLeftAlone) {
  EXPECT_EQ(adapt(u"select a from t where a is null"), "select a from t where a is null");
  EXPECT_EQ(adapt(u"select MyIsNull(a), IsNullFlag from t"), "select MyIsNull(a), IsNullFlag from t");
  EXPECT_EQ(adapt(u"select 'IsNull(x)' from t"), "select 'IsNull(x)' from t");
  EXPECT_EQ(adapt(u"select [IsNull](x) from t"), "select [IsNull](x) from t");
  EXPECT_EQ(adapt(u"select \"IsNull\"(x) from t"), "select \"IsNull\"(x) from t");
}

TEST(SqlDialect, NumberGluedToKeywordGetsABlank) {
  EXPECT_EQ(adapt(u"where a=5And b=1"), "where a=5 And b=1");
  EXPECT_EQ(adapt(u"Between 16384 And 32767And a.FForbidden=0"), "Between 16384 And 32767 And a.FForbidden=0");
  EXPECT_EQ(adapt(u"where a>0Order by a"), "where a>0 Order by a");
  EXPECT_EQ(adapt(u"where a=1.5Or b=2"), "where a=1.5 Or b=2");
  EXPECT_EQ(adapt(u"where a in (1,2)And b=0Group by a"), "where a in (1,2)And b=0 Group by a");
}

TEST(SqlDialect, NumbersInsideNamesAndLiteralsAreLeftAlone) {
  EXPECT_EQ(adapt(u"select t1.FItemID from t_Emp t1 where t1.FItemID>0 "),
            "select t1.FItemID from t_Emp t1 where t1.FItemID>0 ");
  EXPECT_EQ(adapt(u"select 0x1F, 1e5, 2E-3 from t"), "select 0x1F, 1e5, 2E-3 from t");
  EXPECT_EQ(adapt(u"where a='5And' and b=\"7Or\""), "where a='5And' and b=\"7Or\"");
  EXPECT_EQ(adapt(u"select 5 as a1Or from t"), "select 5 as a1Or from t");
}

TEST(SqlDialect, LenBecomesLength) {
  EXPECT_EQ(adapt(u"where Len(FName)>2 and len (b)=0"), "where Length(FName)>2 and Length (b)=0");
  EXPECT_EQ(adapt(u"select Length(a), FLen(b), Len from t"), "select Length(a), FLen(b), Len from t");
}

TEST(SqlDialect, PlusNextToAStringLiteralConcatenates) {
  EXPECT_EQ(adapt(u"select FName + ' (' + FMobilePhone + ')' from t_Emp"),
            "select FName || ' (' || FMobilePhone || ')' from t_Emp");
  EXPECT_EQ(adapt(u"select 'E'+FNumber from t"), "select 'E'||FNumber from t");
  EXPECT_EQ(adapt(u"select a + b, 1+2 from t"), "select a + b, 1+2 from t");
  EXPECT_EQ(adapt(u"select N'x' + a from t"), "select 'x' || a from t");
}

TEST(SqlDialect, TopBecomesLimitOnTheOutermostSelect) {
  EXPECT_EQ(adapt(u"Select Top 10 FName From t_Emp Order by FNumber"),
            "Select FName From t_Emp Order by FNumber Limit 10");
  EXPECT_EQ(adapt(u"select distinct top (3) a from t;"), "select distinct a from t Limit 3;");
  EXPECT_EQ(adapt(u"select a from t where b in (select top 1 c from u)"),
            "select a from t where b in (select top 1 c from u)");
  EXPECT_EQ(adapt(u"select top from t"), "select top from t");
}

TEST(SqlDialect, NationalLiteralLosesItsPrefix) {
  EXPECT_EQ(adapt(u"where FName=N'财务部' and x='It''s'"), "where FName='财务部' and x='It''s'");
  EXPECT_EQ(adapt(u"select FN'x' from t"), "select FN'x' from t");
}

TEST(SqlDialect, CommentsAndChineseTextPassUnchanged) {
  EXPECT_EQ(adapt(u"select a -- IsNull(a,0)\nfrom t /* Len(x) 5And */ where b='总经理办公室'"),
            "select a -- IsNull(a,0)\nfrom t /* Len(x) 5And */ where b='总经理办公室'");
}

TEST(SqlDialect, TheAddInsDirectoryQueriesComeOutAsSqliteReadsThem) {
  EXPECT_EQ(adapt(u"Select t1.FItemID,t1.FName,t1.FDepartmentID,t1.FMobilePhone From t_Emp t1 Inner join t_Item t2 On "
                  u"t1.FItemID=t2.FItemID Where IsNull(t1.FDepartmentID,0)=0 And (Lower(t1.FNumber) Not in "
                  u"('admin','super')) And t2.FDeleted=0 Order by t1.FNumber"),
            "Select t1.FItemID,t1.FName,t1.FDepartmentID,t1.FMobilePhone From t_Emp t1 Inner join t_Item t2 On "
            "t1.FItemID=t2.FItemID Where IfNull(t1.FDepartmentID,0)=0 And (Lower(t1.FNumber) Not in "
            "('admin','super')) And t2.FDeleted=0 Order by t1.FNumber");
  const char16_t* unchanged =
      u"Select Distinct g.FGroupID,u.FName as FGroupName From t_User u Inner join t_Group g On u.fUserid =g.fGroupID "
      u"Order by g.FGroupID";
  EXPECT_EQ(adapt(unchanged), toUtf8(unchanged));
  EXPECT_EQ(adapt(u"Select a.FName,a.FEmpID,b.FName as EmpName,b.FMobilePhone From t_User a Left join t_Emp b On "
                  u"a.FEmpID=b.FItemID Where a.FUserID Between 16384 And 32767And a.FForbidden=0 Order By a.FUserID"),
            "Select a.FName,a.FEmpID,b.FName as EmpName,b.FMobilePhone From t_User a Left join t_Emp b On "
            "a.FEmpID=b.FItemID Where a.FUserID Between 16384 And 32767 And a.FForbidden=0 Order By a.FUserID");
}

}  // namespace
}  // namespace lumo::devhost
