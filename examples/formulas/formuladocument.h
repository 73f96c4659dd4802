#pragma once

#include <string_view>

/// What tarq-formulas computes when it is given no file: formulas of each kind and type, and some that go wrong.
inline constexpr std::string_view cFormulaDocument = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes" ?>
<formulas>
	<formula name="answer" datatype="Integer32" expressiontype="binaryoperator" operatortype="mul">
		<lhs datatype="Integer32" expressiontype="value"><value>6</value></lhs>
		<rhs datatype="Integer32" expressiontype="value"><value>7</value></rhs>
	</formula>
	<formula name="nothing" datatype="Integer64" expressiontype="binaryoperator" operatortype="div">
		<lhs datatype="Integer64" expressiontype="value"><value>5000000000</value></lhs>
		<rhs datatype="Integer64" expressiontype="value"><value>0</value></rhs>
	</formula>

	<formula name="flees" datatype="Boolean" expressiontype="binaryoperator" operatortype="and">
		<lhs datatype="Boolean" expressiontype="binaryoperator" operatortype="smaller">
			<lhs datatype="Integer32" expressiontype="variable" name="health"/>
			<rhs datatype="Integer32" expressiontype="value"><value>50</value></rhs>
		</lhs>
		<rhs datatype="Boolean" expressiontype="unaryoperator" operatortype="not">
			<value datatype="Boolean" expressiontype="variable" name="isAsleep"/>
		</rhs>
	</formula>
	<formula name="weight" datatype="Float" expressiontype="binaryoperator" operatortype="mul">
		<lhs datatype="Float" expressiontype="variable" name="mass"/>
		<rhs datatype="Float" expressiontype="constant" name="gravity"/>
	</formula>
	<formula name="tax" datatype="UnsignedInteger32" expressiontype="binaryoperator" operatortype="div">
		<lhs datatype="UnsignedInteger32" expressiontype="variable" name="gold"/>
		<rhs datatype="UnsignedInteger32" expressiontype="value"><value>10</value></rhs>
	</formula>
	<!-- The left operand's type counts. -->
	<formula name="balance" datatype="Integer32" expressiontype="binaryoperator" operatortype="sub">
		<lhs datatype="Integer32" expressiontype="variable" name="health"/>
		<rhs datatype="UnsignedInteger32" expressiontype="variable" name="gold"/>
	</formula>
	<formula name="minutes" datatype="Integer64" expressiontype="binaryoperator" operatortype="div">
		<lhs datatype="Integer64" expressiontype="variable" name="age"/>
		<rhs datatype="Integer64" expressiontype="value"><value>60</value></rhs>
	</formula>
	<formula name="full name" datatype="String" expressiontype="binaryoperator" operatortype="add">
		<lhs datatype="String" expressiontype="variable" name="name"/>
		<rhs datatype="String" expressiontype="value"><value> of Tarq</value></rhs>
	</formula>
	<formula name="next" datatype="Vec3f" expressiontype="binaryoperator" operatortype="add">
		<lhs datatype="Vec3f" expressiontype="variable" name="position"/>
		<rhs datatype="Vec3f" expressiontype="value"><value>(1,0,0.5)</value></rhs>
	</formula>
	<formula name="is orange" datatype="Boolean" expressiontype="binaryoperator" operatortype="equal">
		<lhs datatype="Colour" expressiontype="variable" name="colour"/>
		<rhs datatype="Colour" expressiontype="value"><value>#ff8000</value></rhs>
	</formula>

	<formula name="letters" datatype="UnsignedInteger32" expressiontype="memberfunction">
		<value datatype="String" expressiontype="variable" name="name"/>
		<functionname>GetLength</functionname>
		<argumentlist/>
	</formula>
	<formula name="way home" datatype="Float" expressiontype="memberfunction">
		<value datatype="Vec3f" expressiontype="variable" name="position"/>
		<functionname>GetDistance</functionname>
		<argumentlist>
			<argument datatype="Vec3f" expressiontype="value"><value>(0,0,0)</value></argument>
		</argumentlist>
	</formula>
	<formula name="shown health" datatype="Integer32" expressiontype="function">
		<functionname>clamp</functionname>
		<argumentlist>
			<argument datatype="Integer32" expressiontype="variable" name="health"/>
			<argument datatype="Integer32" expressiontype="value"><value>0</value></argument>
			<argument datatype="Integer32" expressiontype="value"><value>100</value></argument>
		</argumentlist>
	</formula>
	<formula name="blend" datatype="Colour" expressiontype="function">
		<functionname>mix</functionname>
		<argumentlist>
			<argument datatype="Colour" expressiontype="variable" name="colour"/>
			<argument datatype="Colour" expressiontype="value"><value>#0000ff</value></argument>
		</argumentlist>
	</formula>
	<formula name="has companions" datatype="Boolean" expressiontype="binaryoperator" operatortype="greater">
		<lhs datatype="UnsignedInteger32" expressiontype="function">
			<functionname>population</functionname>
			<argumentlist/>
		</lhs>
		<rhs datatype="UnsignedInteger32" expressiontype="value"><value>1</value></rhs>
	</formula>

	<!-- And what goes wrong. -->
	<formula name="slow" datatype="Boolean" expressiontype="binaryoperator" operatortype="or">
		<lhs datatype="Boolean" expressiontype="variable" name="isAsleep"/>
		<rhs datatype="Boolean" expressiontype="binaryoperator" operatortype="greater">
			<lhs datatype="Float" expressiontype="variable" name="mass"/>
			<rhs datatype="Integer32" expressiontype="value"><value>100</value></rhs>
		</rhs>
	</formula>
	<formula name="lucky" datatype="Boolean" expressiontype="unaryoperator" operatortype="not">
		<value datatype="Boolean" expressiontype="variable" name="bad luck"/>
	</formula>
	<formula name="strong" datatype="Float" expressiontype="binaryoperator" operatortype="pow">
		<lhs datatype="Float" expressiontype="variable" name="mass"/>
		<rhs datatype="Float" expressiontype="value"><value>2</value></rhs>
	</formula>
	<formula name="heavy" datatype="Boolean" expressiontype="binaryoperator" operatortype="greater">
		<lhs expressiontype="variable" name="mass"/>
	</formula>
</formulas>
)";
